#pragma once

#include <optional>
#include <string>

#include "base/Crypto.hpp"

namespace tallyfox::server {

struct PairingRecord {
  std::string id;
  Sha256Digest tokenHash{};
  bool revoked = false;
  bool operator==(const PairingRecord&) const = default;
};

struct DeviceRecord {
  std::string id;
  std::string name;
  std::optional<std::string> platform{};
  bool unpaired = false;                      ///< by the owner, for good
  std::optional<std::string> pushEndpoint{};  ///< where it wants to be asked to look
  bool operator==(const DeviceRecord&) const = default;
};

}  // namespace tallyfox::server
