#include "base/Url.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace tallyfox {
namespace {

bool isAlpha(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isHex(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Characters of a component: unreserved, sub-delimiters and `more`, with well-formed percent-encodings.
bool isComponent(std::string_view text, std::string_view more) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '%') {
      if (at + 2 >= text.size() || !isHex(text[at + 1]) || !isHex(text[at + 2])) return false;
      at += 2;
    } else if (!isAlpha(c) && !isDigit(c) && std::string_view("-._~!$&'()*+,;=").find(c) == std::string_view::npos &&
               more.find(c) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isAlpha(text.front()) &&
         std::ranges::all_of(text, [](char c) { return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; });
}

std::string asciiLowercased(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return result;
}

/// Splits off what follows `separator`, if there is one.
std::optional<std::string> takeAfter(std::string_view& text, char separator) {
  const auto at = text.find(separator);
  if (at == std::string_view::npos) return std::nullopt;
  std::string tail(text.substr(at + 1));
  text = text.substr(0, at);
  return tail;
}

bool parsePort(std::string_view text, Url& url) {
  if (text.empty()) return true;
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  url.port = port;
  return true;
}

bool parseAuthority(std::string_view authority, Url& url) {
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    url.user = std::string(authority.substr(0, at));
    if (!isComponent(*url.user, ":")) return false;
    authority.remove_prefix(at + 1);
  }
  std::string_view host;
  if (authority.starts_with('[')) {
    const auto close = authority.find(']');
    if (close == std::string_view::npos) return false;
    host = authority.substr(1, close - 1);
    const bool isLiteral = host.find(':') != std::string_view::npos &&
                           std::ranges::all_of(host, [](char c) { return isHex(c) || c == ':' || c == '.'; });
    authority.remove_prefix(close + 1);
    if (!isLiteral || (!authority.empty() && !authority.starts_with(':'))) return false;
    if (!authority.empty()) authority.remove_prefix(1);
  } else {
    const auto colon = authority.find(':');
    host = authority.substr(0, colon);
    if (!isComponent(host, "")) return false;
    authority = colon == std::string_view::npos ? std::string_view() : authority.substr(colon + 1);
  }
  if (!host.empty()) url.host = std::string(host);
  return parsePort(authority, url);
}

}  // namespace

std::optional<Url> Url::parsed(std::string_view text) {
  Url url;
  url.fragment = takeAfter(text, '#');
  url.query = takeAfter(text, '?');
  if ((url.fragment && !isComponent(*url.fragment, ":@/?")) || (url.query && !isComponent(*url.query, ":@/?")))
    return std::nullopt;
  if (const auto colon = text.find(':'); colon != std::string_view::npos && colon < text.find('/')) {
    if (!isScheme(text.substr(0, colon))) return std::nullopt;
    url.scheme = asciiLowercased(text.substr(0, colon));
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const auto slash = std::min(text.find('/'), text.size());
    if (!parseAuthority(text.substr(0, slash), url)) return std::nullopt;
    text.remove_prefix(slash);
  }
  if (!isComponent(text, ":@/")) return std::nullopt;
  url.path = std::string(text);
  return url;
}

std::optional<std::string> Url::text() const {
  const bool hasAuthority = host || user || port;
  if (hasAuthority && !path.empty() && !path.starts_with('/')) return std::nullopt;
  if (!hasAuthority && path.starts_with("//")) return std::nullopt;
  if (!hasAuthority && !scheme && path.find(':') < path.find('/')) return std::nullopt;
  std::string result;
  if (scheme) result += *scheme + ":";
  if (hasAuthority) {
    result += "//";
    if (user) result += *user + "@";
    if (host) result += host->find(':') == std::string::npos ? *host : "[" + *host + "]";
    if (port) result += fmt::format(":{}", *port);
  }
  result += path;
  if (query) result += "?" + *query;
  if (fragment) result += "#" + *fragment;
  return result;
}

}  // namespace tallyfox
