#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "model/RelayLaunchConfiguration.hpp"
#include "platform/HttpClient.hpp"

namespace tallyfox {

struct RelayRegistrationError {
  enum class Kind { rejected, invalidRelayURL, invalidResponse, pairingRevoked, transport };
  Kind kind = Kind::rejected;
  int status = 0;                    ///< for rejected
  std::string transportDescription;  ///< for transport: the transport's own sentence
  bool operator==(const RelayRegistrationError&) const = default;
  [[nodiscard]] std::string description() const;
};

/// The address of a pairing's token at the relay; absent when none can be formed.
[[nodiscard]] std::optional<std::string> relayTokenURL(const RelayLaunchConfiguration& configuration);

/// Registers the installation's relay token for its pairing. Completes once, on the HTTP client's thread, or (for an
/// address that is no address) before returning; destroying the exchange abandons it.
[[nodiscard]] std::unique_ptr<HttpExchange> registerRelayAuthToken(
    HttpClient& http, const RelayLaunchConfiguration& configuration, const std::string& relaySecret,
    std::function<void(std::expected<void, RelayRegistrationError>)> completion);

}  // namespace tallyfox
