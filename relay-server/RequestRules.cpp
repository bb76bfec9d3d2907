#include "RequestRules.hpp"

#include <algorithm>
#include <boost/beast/http/rfc7230.hpp>
#include <string_view>

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;

constexpr unsigned http11 = 11;

bool listsToken(const HttpRequest& request, http::field name, const char* token) {
  const auto [begin, end] = request.equal_range(name);
  return std::any_of(begin, end, [&](const auto& line) { return http::token_list(line.value()).exists(token); });
}

/// 16 bytes in base64, as section 4.1 of RFC 6455 has clients make them.
bool isKey(std::string_view text) {
  constexpr std::size_t keyCharacters = 24;
  constexpr std::string_view padding = "==";
  if (text.size() != keyCharacters || !text.ends_with(padding)) return false;
  text.remove_suffix(padding.size());
  return std::ranges::all_of(text, [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
  });
}

HttpResponse versionRequired() {
  HttpResponse response = plainResponse(HttpStatus::upgrade_required);
  response.set(http::field::connection, "Upgrade, close");
  response.set(http::field::upgrade, "websocket");
  response.set(http::field::sec_websocket_version, "13");
  return response;
}

std::optional<HttpResponse> handshakeBreach(const HttpRequest& request, std::size_t bytesBehind) {
  const auto badRequest = [] { return plainResponse(HttpStatus::bad_request); };
  const bool hasContent =
      request.count(http::field::transfer_encoding) != 0 ||
      (request.count(http::field::content_length) != 0 && request[http::field::content_length] != "0");
  if (bytesBehind != 0 || hasContent) return badRequest();
  if (request.count(http::field::sec_websocket_version) > 1) return badRequest();
  if (request[http::field::sec_websocket_version] != "13") return versionRequired();
  const boost::beast::string_view key = request[http::field::sec_websocket_key];
  if (request.count(http::field::sec_websocket_key) != 1 || !isKey({key.data(), key.size()})) return badRequest();
  return std::nullopt;
}

}  // namespace

bool asksForWebSocket(const HttpRequest& request) {
  return request.version() >= http11 && request.method() == http::verb::get &&
         listsToken(request, http::field::connection, "upgrade") &&
         listsToken(request, http::field::upgrade, "websocket");
}

std::optional<HttpResponse> ruleBreach(const HttpRequest& request, std::size_t bytesBehind) {
  const std::size_t hosts = request.count(http::field::host);
  if (hosts > 1 || (hosts == 0 && request.version() >= http11)) return plainResponse(HttpStatus::bad_request);
  return asksForWebSocket(request) ? handshakeBreach(request, bytesBehind) : std::nullopt;
}

}  // namespace tallyfox::server
