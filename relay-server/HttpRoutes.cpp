#include "HttpRoutes.hpp"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <string>
#include <utility>

#include "Identifiers.hpp"
#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

namespace http = boost::beast::http;

constexpr std::string_view pairingsPrefix = "/api/pairings/";
constexpr std::string_view tokenSuffix = "/relay-token";

std::string_view viewOf(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

/// The pairing id of a registration's path, good or bad; absent for any other path.
std::optional<std::string_view> pairingIDOf(std::string_view path) {
  if (!path.starts_with(pairingsPrefix)) return std::nullopt;
  path.remove_prefix(pairingsPrefix.size());
  if (!path.ends_with(tokenSuffix)) return std::nullopt;
  path.remove_suffix(tokenSuffix.size());
  if (path.contains('/')) return std::nullopt;
  return path;
}

bool isRegistrationBody(std::string_view body) {
  const auto message = parsedJson(body);
  if (!message) return false;
  JsonObjectReader reader(*message);
  const bool knownClient = reader.string("client") == "mac";
  static_cast<void>(reader.integer("version", 1, 1));
  return knownClient && !reader.error();
}

HttpResponse methodNotAllowed(std::string_view allowed) {
  HttpResponse response = plainResponse(HttpStatus::method_not_allowed);
  response.set(http::field::allow, boost::beast::string_view(allowed.data(), allowed.size()));
  return response;
}

}  // namespace

boost::asio::awaitable<HttpResponse> HttpRoutes::answer(const HttpRequest& request) {
  const std::string_view path = pathOf(viewOf(request.target()));
  if (path == "/healthz") {
    if (request.method() != http::verb::get) co_return methodNotAllowed("GET");
    HttpResponse response = plainResponse(draining_ ? HttpStatus::service_unavailable : HttpStatus::ok);
    response.body() = draining_ ? "draining\n" : "ok\n";
    co_return response;
  }
  if (const auto pairingID = pairingIDOf(path)) {
    if (request.method() == http::verb::get) {
      const HttpStatus status = co_await standing(request, *pairingID);
      co_return plainResponse(status);
    }
    if (request.method() != http::verb::put) co_return methodNotAllowed("GET, PUT");
    const HttpStatus status = co_await registration(request, *pairingID);
    co_return plainResponse(status);
  }
  co_return plainResponse(HttpStatus::not_found);
}

boost::asio::awaitable<HttpStatus> HttpRoutes::registration(const HttpRequest& request, std::string_view pairingID) {
  if (!isIdentifier(pairingID, pairingIDCharacters)) co_return HttpStatus::bad_request;
  const auto token = bearerToken(request);
  if (!token) co_return HttpStatus::unauthorized;
  if (!isRegistrationBody(request.body())) co_return HttpStatus::bad_request;
  const auto registered = co_await access_.registerToken(std::string(pairingID), std::string(*token));
  co_return registered ? HttpStatus::no_content : statusOf(registered.error());
}

boost::asio::awaitable<HttpStatus> HttpRoutes::standing(const HttpRequest& request, std::string_view pairingID) {
  if (!isIdentifier(pairingID, pairingIDCharacters)) co_return HttpStatus::bad_request;
  const auto token = bearerToken(request);
  if (!token) co_return HttpStatus::unauthorized;
  const auto known = co_await access_.check(std::string(pairingID), std::string(*token));
  co_return known ? HttpStatus::no_content : statusOf(known.error());
}

bool isRegistration(const HttpRequest& request) {
  return request.method() == http::verb::put && pairingIDOf(pathOf(viewOf(request.target()))).has_value();
}

std::optional<std::string_view> bearerToken(const http::fields& fields) {
  constexpr std::string_view scheme = "Bearer ";
  std::string_view value = viewOf(fields[http::field::authorization]);
  if (!boost::beast::iequals(value.substr(0, scheme.size()), scheme)) return std::nullopt;
  value.remove_prefix(scheme.size());
  if (value.empty()) return std::nullopt;
  return value;
}

std::string_view pathOf(std::string_view target) {
  return target.substr(0, target.find('?'));
}

HttpStatus statusOf(PairingAccess::Refusal refusal) {
  switch (refusal) {
    case PairingAccess::Refusal::unauthorized:
      return HttpStatus::unauthorized;
    case PairingAccess::Refusal::revoked:
      return HttpStatus::gone;
    case PairingAccess::Refusal::storageFailed:
      return HttpStatus::internal_server_error;
  }
  std::unreachable();
}

HttpResponse plainResponse(HttpStatus status) {
  HttpResponse response(status, 11);
  response.keep_alive(false);
  response.set(http::field::cache_control, "no-store");
  if (status == HttpStatus::no_content) return response;
  response.set(http::field::content_type, "text/plain; charset=utf-8");
  if (status == HttpStatus::unauthorized) response.set(http::field::www_authenticate, "Bearer");
  response.body() = std::string(viewOf(http::obsolete_reason(status))) + "\n";
  return response;
}

HttpResponse unavailable(std::chrono::seconds wait) {
  HttpResponse response = plainResponse(HttpStatus::service_unavailable);
  response.set(http::field::retry_after, std::to_string(wait.count()));
  return response;
}

HttpResponse tooManyRequests(std::chrono::seconds wait) {
  HttpResponse response = plainResponse(HttpStatus::too_many_requests);
  response.set(http::field::retry_after, std::to_string(wait.count()));
  return response;
}

}  // namespace tallyfox::server
