#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "base/Json.hpp"

namespace tallyfox {

/// One paired phone, as the relay reports it.
struct RelayPhoneStatus {
  std::string deviceID;
  std::string deviceName;
  std::optional<std::string> platform;
  std::optional<bool> connected;

  bool operator==(const RelayPhoneStatus&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<RelayPhoneStatus, DecodingError> decoded(const Json& value);
};

/// The agent's view of the relay; never sent.
struct RelayConnectionStatus {
  bool relayConnected = false;
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;
  std::vector<RelayPhoneStatus> phones;

  bool operator==(const RelayConnectionStatus&) const = default;
};

}  // namespace tallyfox
