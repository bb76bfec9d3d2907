#include "relay/RelayRegistration.hpp"

#include <fmt/format.h>

#include <utility>

#include "base/Json.hpp"
#include "base/Url.hpp"
#include "model/RelayAddress.hpp"

namespace tallyfox {
namespace {

using Kind = RelayRegistrationError::Kind;

std::expected<void, RelayRegistrationError> outcome(const std::expected<HttpResponse, TransportError>& response) {
  if (!response) return std::unexpected(RelayRegistrationError{Kind::transport, 0, response.error().description});
  const int status = response->status;
  if (status == 410) return std::unexpected(RelayRegistrationError{Kind::pairingRevoked, status, {}});
  if (status < 200 || status > 299) return std::unexpected(RelayRegistrationError{Kind::rejected, status, {}});
  return {};
}

}  // namespace

std::string RelayRegistrationError::description() const {
  switch (kind) {
    case Kind::rejected:
      return fmt::format("The relay rejected token registration with HTTP {}.", status);
    case Kind::invalidRelayURL:
      return "The relay URL is not valid.";
    case Kind::invalidResponse:
      return "The relay did not return a valid registration response.";
    case Kind::pairingRevoked:
      return "This pairing was revoked.";
    case Kind::transport:
      return transportDescription;
  }
  return {};
}

std::optional<std::string> relayTokenURL(const RelayLaunchConfiguration& configuration) {
  const auto base = backendBaseURL(configuration.relayURL);
  auto url = base ? Url::parsed(*base) : std::nullopt;
  if (!url || !url->host) return std::nullopt;
  url->path = "/api/pairings/" + configuration.pairingID + "/relay-token";
  auto text = url->text();
  // A pairing ID with characters of its own meaning in an address would name another resource.
  return text && Url::parsed(*text) == url ? text : std::nullopt;
}

std::unique_ptr<HttpExchange> registerRelayAuthToken(
    HttpClient& http, const RelayLaunchConfiguration& configuration, const std::string& relaySecret,
    std::function<void(std::expected<void, RelayRegistrationError>)> completion) {
  const auto url = relayTokenURL(configuration);
  if (!url) {
    completion(std::unexpected(RelayRegistrationError{Kind::invalidRelayURL, 0, {}}));
    return nullptr;
  }
  HttpRequest request;
  request.method = "PUT";
  request.url = *url;
  request.headers = {{"content-type", "application/json"}, {"authorization", "Bearer " + relaySecret}};
  request.body = jsonText({{"client", "mac"}, {"version", 1}});
  request.timeout = Seconds(8);
  return http.send(request,
                   [completion = std::move(completion)](const std::expected<HttpResponse, TransportError>& response) {
                     completion(outcome(response));
                   });
}

}  // namespace tallyfox
