#include "page/PageRoutes.hpp"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/rfc7230.hpp>
#include <string>
#include <string_view>

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;

std::string_view viewOf(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

boost::beast::string_view fieldOf(std::string_view text) {
  return {text.data(), text.size()};
}

/// Everything from this origin alone. Scripts cannot make scripts of text, and nobody may put the page into a frame.
constexpr std::string_view contentSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; connect-src 'self'; "
    "manifest-src 'self'; worker-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'";
/// The camera reads pairing codes; nothing else of the device is asked for.
constexpr std::string_view permissionsPolicy =
    "camera=(self), microphone=(), geolocation=(), display-capture=(), payment=(), usb=(), serial=(), "
    "hid=(), midi=()";
constexpr std::string_view oneYear = "max-age=31536000";

void setPageHeaders(http::fields& fields, bool strictTransport) {
  fields.set("Content-Security-Policy", fieldOf(contentSecurityPolicy));
  fields.set("X-Content-Type-Options", "nosniff");
  fields.set("Referrer-Policy", "no-referrer");
  fields.set("Permissions-Policy", fieldOf(permissionsPolicy));
  fields.set("Cross-Origin-Opener-Policy", "same-origin");
  fields.set("Cross-Origin-Resource-Policy", "same-origin");
  if (strictTransport) fields.set(http::field::strict_transport_security, fieldOf(oneYear));
}

/// All lines of one header, as one list.
std::string joined(const http::fields& fields, http::field name) {
  std::string text;
  const auto [begin, end] = fields.equal_range(name);
  for (auto line = begin; line != end; ++line) {
    if (!text.empty()) text += ',';
    text.append(line->value().data(), line->value().size());
  }
  return text;
}

/// A quality of zero, such as `0` or `0.000`, refuses.
bool isRefused(const http::param_list& parameters) {
  return std::ranges::any_of(parameters, [](const auto& parameter) {
    return boost::beast::iequals(parameter.first, "q") && !parameter.second.empty() &&
           parameter.second.find_first_not_of("0.") == boost::beast::string_view::npos;
  });
}

bool acceptsGzip(const http::fields& fields) {
  const std::string accepted = joined(fields, http::field::accept_encoding);
  const http::ext_list codings(accepted);
  return std::ranges::any_of(codings, [](const auto& coding) {
    return boost::beast::iequals(coding.first, "gzip") && !isRefused(coding.second);
  });
}

/// Whether the client has these bytes. A weak mark says less than we need, but is about the same tag.
bool isHeld(const http::fields& fields, std::string_view entityTag) {
  const std::string text = joined(fields, http::field::if_none_match);
  std::string_view list = text;
  while (!list.empty()) {
    const auto comma = list.find(',');
    std::string_view tag = list.substr(0, comma);
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    const auto first = tag.find_first_not_of(" \t");
    if (first == std::string_view::npos) continue;
    tag = tag.substr(first, tag.find_last_not_of(" \t") - first + 1);
    if (tag == "*") return true;
    if (tag.starts_with("W/")) tag.remove_prefix(2);
    if (tag == entityTag) return true;
  }
  return false;
}

}  // namespace

std::optional<PageResponse> PageRoutes::answer(const http::request_header<>& request) const {
  const std::string_view target = viewOf(request.target());
  const PageFile* const file = files_.find(target.substr(0, target.find('?')));
  if (file == nullptr) return std::nullopt;

  PageResponse response;
  setPageHeaders(response, strictTransport_);
  const bool wantsBody = request.method() == http::verb::get;
  if (!wantsBody && request.method() != http::verb::head) {
    response.result(http::status::method_not_allowed);
    response.set(http::field::allow, "GET, HEAD");
    response.content_length(0);
    return response;
  }
  const bool compressed = !file->gzipBody.empty() && acceptsGzip(request);
  const std::string& entityTag = compressed ? file->gzipEntityTag : file->entityTag;
  response.set(http::field::cache_control, fieldOf(file->cacheControl));
  response.set(http::field::etag, entityTag);
  if (!file->gzipBody.empty()) response.set(http::field::vary, "Accept-Encoding");
  if (isHeld(request, entityTag)) {
    response.result(http::status::not_modified);
    return response;
  }
  const std::string& body = compressed ? file->gzipBody : file->body;
  response.set(http::field::content_type, fieldOf(file->contentType));
  if (compressed) response.set(http::field::content_encoding, "gzip");
  response.content_length(body.size());
  if (wantsBody) response.body() = {body.data(), body.size()};
  return response;
}

}  // namespace tallyfox::server
