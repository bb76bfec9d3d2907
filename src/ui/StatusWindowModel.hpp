#pragma once

#include <optional>
#include <string>

#include "base/Date.hpp"
#include "model/GrayscaleImage.hpp"
#include "ui/AppTheme.hpp"
#include "ui/MacStatusSnapshot.hpp"
#include "ui/StatusTexts.hpp"

namespace tallyfox {

/// What the owner can ask for in the status window.
enum class StatusWindowAction {
  openAccessibilitySettings,
  enableLoginItem,
  unpairPhone,  ///< after unpairConfirmation() was confirmed
  togglePairingCode,
  checkForUpdates,
  toggleNotificationPause,
  showNotificationPauseOptions,
};

struct ButtonModel {
  std::string title;
  StatusWindowAction action;
  bool isEnabled = true;
  bool operator==(const ButtonModel&) const = default;
};

/// One card of the window; what is absent is not shown.
struct StatusRowModel {
  std::string symbol;  ///< of the Mac's symbol set
  std::string title;
  std::string detail;
  std::optional<StatusPill> pill;
  std::optional<ButtonModel> button;
  std::optional<ButtonModel> secondaryButton;
  bool operator==(const StatusRowModel&) const = default;
};

struct PairingCardModel {
  std::string title;
  std::string status;
  TextRole statusRole = TextRole::primary;
  std::string detail;  ///< empty where nothing is to be said
  /// Why there are no credentials, where that is so.
  std::optional<std::string> problem;
  /// Whoever sees the code can pair: it is shown while a phone is wanted, and else only when the owner asks for it.
  std::optional<GrayscaleImage> code;
  std::string caption;  ///< under the code, or in its place where there is none; empty where nothing is to be said
  std::optional<ButtonModel> openSettings;
  std::optional<ButtonModel> codeToggle;
  std::optional<ButtonModel> unpair;
  bool operator==(const PairingCardModel&) const = default;
};

/// Everything that the status window shows, from top to bottom. A toolkit draws it and decides nothing.
struct StatusWindowModel {
  std::string title;
  std::string headline;
  std::string detail;
  StatusPill pill;
  std::optional<StatusRowModel> update;
  PairingCardModel pairing;
  std::optional<StatusRowModel> installLocation;
  StatusRowModel accessibility;
  StatusRowModel loginItem;
  StatusRowModel notificationPause;
  bool operator==(const StatusWindowModel&) const = default;
};

/// What the window shows follows from a snapshot and from this.
struct StatusWindowContext {
  Date now;
  std::string timeZoneIdentifier;  ///< whose clock tells the end of a pause
  bool pairingResetInProgress = false;
  std::optional<std::string> credentialError;
  bool isCodeRequested = false;  ///< by togglePairingCode, until the window closes
};

[[nodiscard]] StatusWindowModel statusWindowModel(const MacStatusSnapshot& snapshot,
                                                  const StatusWindowContext& context);

/// A question that is asked once before something that cannot be taken back.
struct ConfirmationModel {
  std::string title;
  std::string detail;
  std::string confirmTitle;
  std::string cancelTitle;
  bool operator==(const ConfirmationModel&) const = default;
};
[[nodiscard]] ConfirmationModel unpairConfirmation();

}  // namespace tallyfox
