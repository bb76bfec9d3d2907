#pragma once

#include <string>

namespace tallyfox {

/// Which relay to use and for which pairing.
struct RelayLaunchConfiguration {
  std::string relayURL;   ///< WebSocket address as configured
  std::string pairingID;  ///< as configured only a seed; in the effective configuration the installation's own
  bool operator==(const RelayLaunchConfiguration&) const = default;
};

}  // namespace tallyfox
