#include "ui/StatusTexts.hpp"

#include <variant>

#include "ui/FormattedPauseDate.hpp"

namespace tallyfox {
namespace {

bool areMacPermissionsGranted(const MacStatusSnapshot& snapshot) {
  return snapshot.accessibilityTrusted && std::holds_alternative<login_item::Enabled>(snapshot.loginItemStatus);
}

bool isSetupComplete(const MacStatusSnapshot& snapshot) {
  return snapshot.installedInApplications && areMacPermissionsGranted(snapshot);
}

bool isPausedUntilLater(const NotificationPauseSnapshot& pause, Date now) {
  return pause.pausedUntil && *pause.pausedUntil > now;
}

struct LoginItemRow {
  StatusRow operator()(const login_item::Enabled&) const {
    return {{"Enabled", PillRole::success}, "Opens automatically when you sign in."};
  }
  StatusRow operator()(const login_item::Disabled&) const {
    return {{"Off", PillRole::warning}, "Enable after-reboot startup."};
  }
  StatusRow operator()(const login_item::RequiresApproval&) const {
    return {{"Needs Approval", PillRole::warning}, "Approve Tallyfox in Login Items."};
  }
  StatusRow operator()(const login_item::Unavailable& unavailable) const {
    return {{"Unavailable", PillRole::warning}, unavailable.explanation};
  }
};

}  // namespace

bool hasPhone(const MacStatusSnapshot& snapshot) {
  return snapshot.phoneConnected || snapshot.phoneCount >= 1 || !snapshot.connectedPhones.empty();
}

StatusPill overallStatus(const MacStatusSnapshot& snapshot) {
  if (!isSetupComplete(snapshot)) return {"Needs Setup", PillRole::warning};
  if (!snapshot.relayConnected) return {"Connecting", PillRole::warning};
  if (!hasPhone(snapshot)) return {"iPhone Pairing Pending", PillRole::warning};
  return {"All OK", PillRole::success};
}

std::string headerTitle(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Move to Applications";
  if (!areMacPermissionsGranted(snapshot)) return "Finish setup";
  if (!snapshot.relayConnected) return "Connecting";
  if (!hasPhone(snapshot)) return "Pair iPhone";
  return "All OK";
}

std::string headerSubtitle(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Run Tallyfox from Applications before enabling Mac permissions.";
  if (!areMacPermissionsGranted(snapshot)) {
    return "Allow the required Mac permissions so tallies can be detected and delivered.";
  }
  if (!snapshot.relayConnected) return "Mac setup is ready. Reconnecting to check your saved iPhone pairing.";
  if (!hasPhone(snapshot)) return "Mac setup is ready. Pair an iPhone to receive approval alerts.";
  return "Tallyfox is watching quietly and will notify your iPhone when this Mac needs attention.";
}

std::string phoneCardTitle(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Move to Applications";
  if (!snapshot.accessibilityTrusted) return "Accessibility required";
  if (!snapshot.relayConfigured) return "Pairing is not configured";
  if (!snapshot.relayConnected) return "Connecting";
  if (!hasPhone(snapshot)) return "Ready to scan";
  return "iPhone paired";
}

std::string phoneStatusDetail(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Move Tallyfox to Applications before pairing your iPhone.";
  if (!snapshot.relayConfigured) return "Pairing settings are missing, so no QR code can be shown.";
  if (!snapshot.pairingImage && snapshot.accessibilityTrusted) return snapshot.pairingCaption;
  if (!snapshot.relayConnected) return "Tallyfox is connecting in the background.";
  if (!snapshot.accessibilityTrusted) {
    return "Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs.";
  }
  if (!snapshot.connectedPhones.empty()) {
    return snapshot.connectedPhones.front().deviceName + " can receive approval alerts from this Mac.";
  }
  if (!hasPhone(snapshot)) return "Open the iPhone app and scan this code.";
  return "A paired iPhone can receive approval alerts from this Mac.";
}

std::string pairingCaption(bool accessibilityTrusted, bool hasPairingPayload) {
  if (!accessibilityTrusted) {
    return "Allow Accessibility in System Settings. The pairing code appears after Tallyfox can detect Mac prompts.";
  }
  if (!hasPairingPayload) {
    return "Pairing is not configured for this launch. Add pairing settings before packaging Tallyfox to show a QR "
           "code.";
  }
  return "Open the iPhone app, choose Pair Mac, and scan this code.";
}

StatusRow installLocationRow(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return {{"Move", PillRole::warning}, "Move app, then reopen."};
  return {{"Installed", PillRole::success}, "Running from Applications."};
}

StatusRow accessibilityRow(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return {{"Waiting", PillRole::warning}, "Move app first."};
  if (!snapshot.accessibilityTrusted) {
    return {{"Required", PillRole::warning}, "Allow Accessibility to detect dialogs."};
  }
  return {{"Allowed", PillRole::success}, "Can detect dialogs and press approved buttons."};
}

StatusRow loginItemRow(const MacStatusSnapshot& snapshot) {
  return std::visit(LoginItemRow{}, snapshot.loginItemStatus);
}

bool isPauseInForce(const NotificationPauseSnapshot& pause, Date now) {
  return pause.pausesIndefinitely || isPausedUntilLater(pause, now);
}

std::string pauseCardTitle(const MacStatusSnapshot& snapshot, Date now, const std::string& timeZoneIdentifier) {
  if (!snapshot.installedInApplications || !snapshot.relayConfigured) return "Not Available";
  if (!snapshot.relayConnected || !snapshot.accessibilityTrusted || !hasPhone(snapshot)) return "Inactive";
  return pauseTitle(snapshot.notificationPause, now, timeZoneIdentifier);
}

std::string pauseTitle(const NotificationPauseSnapshot& pause, Date now, const std::string& timeZoneIdentifier) {
  if (pause.pausesIndefinitely) return "Paused";
  if (!isPausedUntilLater(pause, now)) return "Active";
  return "Paused until " + formattedPauseDate(*pause.pausedUntil, now, timeZoneIdentifier);
}

std::string pauseCardDetail(const MacStatusSnapshot& snapshot, Date now) {
  if (!snapshot.installedInApplications) return "Move to Applications first.";
  if (!snapshot.relayConfigured) return "Pair an iPhone before pausing alerts.";
  if (!snapshot.relayConnected) return "Connecting to relay.";
  if (!snapshot.accessibilityTrusted) return "Turn on Accessibility first.";
  if (!hasPhone(snapshot)) return "Pair an iPhone to receive alerts.";
  if (snapshot.notificationPause.pausesIndefinitely) return "Paused until you resume.";
  if (isPausedUntilLater(snapshot.notificationPause, now)) return "Alerts will resume automatically.";
  return "Pause while handling prompts locally.";
}

bool isUpdateRowVisible(const MacStatusSnapshot& snapshot) {
  return snapshot.updateAvailability.isUpdateAvailable;
}

}  // namespace tallyfox
