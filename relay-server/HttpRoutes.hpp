#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <chrono>
#include <optional>
#include <string_view>

#include "PairingAccess.hpp"

namespace tallyfox::server {

using HttpRequest = boost::beast::http::request<boost::beast::http::string_body>;
using HttpResponse = boost::beast::http::response<boost::beast::http::string_body>;
using HttpStatus = boost::beast::http::status;

/// What plain HTTP requests get; knows no sockets.
class HttpRoutes {
 public:
  /// A relay that drains is not healthy, for what sends it clients.
  explicit HttpRoutes(PairingAccess& access, bool draining = false) : access_(access), draining_(draining) {}
  /// `request` must live until the answer.
  [[nodiscard]] boost::asio::awaitable<HttpResponse> answer(const HttpRequest& request);

 private:
  [[nodiscard]] boost::asio::awaitable<HttpStatus> registration(const HttpRequest& request, std::string_view pairingID);
  /// Whether this token is registered for the pairing; changes nothing.
  [[nodiscard]] boost::asio::awaitable<HttpStatus> standing(const HttpRequest& request, std::string_view pairingID);

  PairingAccess& access_;
  bool draining_;
};

/// Whether the request registers a token, well or badly.
[[nodiscard]] bool isRegistration(const HttpRequest& request);
/// The token of an `authorization: Bearer TOKEN` header; absent without one, or when it is empty.
[[nodiscard]] std::optional<std::string_view> bearerToken(const boost::beast::http::fields& fields);
/// The target without its query.
[[nodiscard]] std::string_view pathOf(std::string_view target);
[[nodiscard]] HttpStatus statusOf(PairingAccess::Refusal refusal);
/// A response whose body is its own reason, as one line of text.
[[nodiscard]] HttpResponse plainResponse(HttpStatus status);
/// 503, and when to come again.
[[nodiscard]] HttpResponse unavailable(std::chrono::seconds wait);
/// 429, and when to come again.
[[nodiscard]] HttpResponse tooManyRequests(std::chrono::seconds wait);

}  // namespace tallyfox::server
