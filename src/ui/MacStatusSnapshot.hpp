#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/GrayscaleImage.hpp"
#include "model/LoginItemStatus.hpp"
#include "model/NotificationPauseSnapshot.hpp"
#include "model/RelayConnectionStatus.hpp"
#include "model/UpdateAvailabilitySnapshot.hpp"

namespace tallyfox {

/// The agent's readiness at one moment: all that the status window shows follows from it.
struct MacStatusSnapshot {
  bool installedInApplications = false;
  bool accessibilityTrusted = false;
  LoginItemStatus loginItemStatus = login_item::Disabled{};
  bool relayConfigured = false;  ///< there is a configuration whose address leads to an HTTP base address
  bool relayConnected = false;
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;  ///< known to the relay
  std::vector<RelayPhoneStatus> connectedPhones;
  NotificationPauseSnapshot notificationPause;
  std::int64_t pendingApprovalCount = 0;
  std::optional<GrayscaleImage> pairingImage;  ///< only while accessibility is trusted
  std::string pairingCaption;
  UpdateAvailabilitySnapshot updateAvailability;

  bool operator==(const MacStatusSnapshot&) const = default;
};

}  // namespace tallyfox
