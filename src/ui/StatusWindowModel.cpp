#include "ui/StatusWindowModel.hpp"

#include <variant>

namespace tallyfox {
namespace {

/// Nothing on this computer keeps dialogs from a phone.
bool isReadyForPhones(const MacStatusSnapshot& snapshot) {
  return snapshot.installedInApplications && snapshot.accessibilityTrusted && snapshot.relayConfigured &&
         snapshot.relayConnected;
}

/// The code leads a phone to a relay that answers; a code without credentials would lead nowhere.
bool canPair(const MacStatusSnapshot& snapshot, const StatusWindowContext& context) {
  return isReadyForPhones(snapshot) && snapshot.pairingImage && !context.credentialError &&
         !context.pairingResetInProgress;
}

TextRole pairingStatusRole(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications || !snapshot.accessibilityTrusted || !snapshot.relayConfigured)
    return TextRole::warning;
  if (!snapshot.relayConnected) return TextRole::secondary;
  return hasPhone(snapshot) ? TextRole::positive : TextRole::primary;
}

PairingCardModel pairingCard(const MacStatusSnapshot& snapshot, const StatusWindowContext& context) {
  PairingCardModel card{.title = "iPhone Pairing",
                        .status = phoneCardTitle(snapshot),
                        .statusRole = pairingStatusRole(snapshot),
                        .detail = phoneStatusDetail(snapshot),
                        .problem = context.credentialError,
                        .code = std::nullopt,
                        .caption = "",
                        .openSettings = std::nullopt,
                        .codeToggle = std::nullopt,
                        .unpair = std::nullopt};
  const bool isCodeOffered = canPair(snapshot, context);
  if (isCodeOffered && (!hasPhone(snapshot) || context.isCodeRequested)) card.code = snapshot.pairingImage;
  // Words about a code that is kept back would send the owner looking for it.
  if (!card.code && snapshot.pairingImage && isReadyForPhones(snapshot) && !hasPhone(snapshot)) card.detail.clear();
  const bool isCodeWanting = snapshot.installedInApplications && !snapshot.pairingImage;
  if (card.code || (isCodeWanting && card.detail != snapshot.pairingCaption)) card.caption = snapshot.pairingCaption;
  if (snapshot.installedInApplications && !snapshot.accessibilityTrusted)
    card.openSettings = {.title = "Open Settings", .action = StatusWindowAction::openAccessibilitySettings};
  if (isCodeOffered && hasPhone(snapshot))
    card.codeToggle = {.title = card.code ? "Hide Code" : "Pair Another iPhone",
                       .action = StatusWindowAction::togglePairingCode};
  if (context.pairingResetInProgress) {
    card.unpair = {.title = "Unpairing...", .action = StatusWindowAction::unpairPhone, .isEnabled = false};
  } else if (hasPhone(snapshot)) {
    card.unpair = {.title = "Unpair iPhone", .action = StatusWindowAction::unpairPhone};
  }
  return card;
}

StatusRowModel row(std::string symbol, std::string title, StatusRow texts) {
  return {.symbol = std::move(symbol),
          .title = std::move(title),
          .detail = std::move(texts.detail),
          .pill = std::move(texts.pill),
          .button = std::nullopt,
          .secondaryButton = std::nullopt};
}

StatusRowModel loginItemCard(const MacStatusSnapshot& snapshot) {
  StatusRowModel card = row("arrow.clockwise.circle", "Login Item", loginItemRow(snapshot));
  // A login item is tied to where the application lies, and it is about to be moved.
  if (!snapshot.installedInApplications) return card;
  if (std::holds_alternative<login_item::Disabled>(snapshot.loginItemStatus))
    card.button = {.title = "Enable", .action = StatusWindowAction::enableLoginItem};
  if (std::holds_alternative<login_item::RequiresApproval>(snapshot.loginItemStatus))
    card.button = {.title = "Open Login Items", .action = StatusWindowAction::enableLoginItem};
  return card;
}

StatusRowModel pauseCard(const MacStatusSnapshot& snapshot, const StatusWindowContext& context) {
  const bool isPaused = isPauseInForce(snapshot.notificationPause, context.now);
  StatusRowModel card{.symbol = isPaused ? "bell.slash" : "bell",
                      .title = pauseCardTitle(snapshot, context.now, context.timeZoneIdentifier),
                      .detail = pauseCardDetail(snapshot, context.now),
                      .pill = std::nullopt,
                      .button = std::nullopt,
                      .secondaryButton = std::nullopt};
  // A pause can be ended also while no alert could be sent anyway.
  if (!isPaused && !(isReadyForPhones(snapshot) && hasPhone(snapshot))) return card;
  card.button = {.title = isPaused ? "Resume" : "Pause for 2 Hours",
                 .action = StatusWindowAction::toggleNotificationPause};
  card.secondaryButton = {.title = "More Options", .action = StatusWindowAction::showNotificationPauseOptions};
  return card;
}

StatusRowModel updateCard(const UpdateAvailabilitySnapshot& update) {
  const std::string version = update.displayVersion.value_or("");
  return {.symbol = "arrow.down.circle",
          .title = "Update Available",
          .detail = version.empty() ? "A new version of Tallyfox is ready to install."
                                    : "Tallyfox " + version + " is ready to install.",
          .pill = std::nullopt,
          .button = ButtonModel{.title = "Install Update...", .action = StatusWindowAction::checkForUpdates},
          .secondaryButton = std::nullopt};
}

}  // namespace

StatusWindowModel statusWindowModel(const MacStatusSnapshot& snapshot, const StatusWindowContext& context) {
  StatusWindowModel model{.title = "Tallyfox",
                          .headline = headerTitle(snapshot),
                          .detail = headerSubtitle(snapshot),
                          .pill = overallStatus(snapshot),
                          .update = std::nullopt,
                          .pairing = pairingCard(snapshot, context),
                          .installLocation = std::nullopt,
                          .accessibility = row("figure.wave.circle.fill", "Accessibility", accessibilityRow(snapshot)),
                          .loginItem = loginItemCard(snapshot),
                          .notificationPause = pauseCard(snapshot, context)};
  if (isUpdateRowVisible(snapshot)) model.update = updateCard(snapshot.updateAvailability);
  // Once the application lies where it belongs, that is no news.
  if (!snapshot.installedInApplications)
    model.installLocation = row("folder", "Location", installLocationRow(snapshot));
  return model;
}

ConfirmationModel unpairConfirmation() {
  return {.title = "Unpair iPhone?",
          .detail =
              "Paired iPhones stop receiving approvals from this Mac at once. To pair one again, scan the new "
              "pairing code.",
          .confirmTitle = "Unpair",
          .cancelTitle = "Cancel"};
}

}  // namespace tallyfox
