#include "ui/StatusWindowModel.hpp"

#include <variant>

namespace tallyfox {
namespace {

/// The code leads a phone to a relay that answers; a code without credentials would lead nowhere.
bool canPair(const MacStatusSnapshot& snapshot, const StatusWindowContext& context) {
  return snapshot.installedInApplications && snapshot.accessibilityTrusted && snapshot.relayConnected &&
         snapshot.pairingImage && !context.credentialError && !context.pairingResetInProgress;
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
                        .caption = snapshot.pairingCaption,
                        .openSettings = std::nullopt,
                        .codeToggle = std::nullopt,
                        .unpair = std::nullopt};
  const bool isCodeOffered = canPair(snapshot, context);
  if (isCodeOffered && (!hasPhone(snapshot) || context.isCodeRequested)) card.code = snapshot.pairingImage;
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
  if (std::holds_alternative<login_item::Disabled>(snapshot.loginItemStatus))
    card.button = {.title = "Enable", .action = StatusWindowAction::enableLoginItem};
  if (std::holds_alternative<login_item::RequiresApproval>(snapshot.loginItemStatus))
    card.button = {.title = "Open Login Items", .action = StatusWindowAction::enableLoginItem};
  return card;
}

StatusRowModel pauseCard(const MacStatusSnapshot& snapshot, const StatusWindowContext& context) {
  const bool isPaused = snapshot.notificationPause.isPaused();
  const bool isReceiving = snapshot.installedInApplications && snapshot.relayConfigured && snapshot.relayConnected &&
                           snapshot.accessibilityTrusted && hasPhone(snapshot);
  StatusRowModel card{.symbol = isPaused ? "bell.slash" : "bell",
                      .title = pauseCardTitle(snapshot, context.now, context.timeZoneIdentifier),
                      .detail = pauseCardDetail(snapshot, context.now),
                      .pill = std::nullopt,
                      .button = std::nullopt,
                      .secondaryButton = std::nullopt};
  // A pause can be ended also while no alert could be sent anyway.
  if (!isReceiving && !isPaused) return card;
  card.button = {.title = isPaused ? "Resume" : "Pause for 2 Hours",
                 .action = StatusWindowAction::toggleNotificationPause};
  card.secondaryButton = {.title = "More Options", .action = StatusWindowAction::showNotificationPauseOptions};
  return card;
}

StatusRowModel updateCard(const UpdateAvailabilitySnapshot& update) {
  return {.symbol = "arrow.down.circle",
          .title = "Update Available",
          .detail = update.displayVersion ? "Tallyfox " + *update.displayVersion + " is ready to install."
                                          : "A new version of Tallyfox is ready to install.",
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
