#include "ui/StatusOverview.hpp"

#include <fmt/format.h>

#include <variant>

#include "base/Text.hpp"
#include "ui/StatusTexts.hpp"

namespace tallyfox {
namespace {

std::string row(std::string_view label, std::string_view title, std::string_view detail) {
  return fmt::format("{:<16}{}. {}\n", label, title, withoutControlCharacters(detail));
}

std::string row(std::string_view label, const StatusRow& content) {
  return row(label, content.pill.text, content.detail);
}

std::string pauseRows(const MacStatusSnapshot& snapshot, Date now, const std::string& timeZoneIdentifier) {
  const std::string title = pauseCardTitle(snapshot, now, timeZoneIdentifier);
  std::string rows = row("Alerts", title, pauseCardDetail(snapshot, now));
  // A pause goes on while something else keeps the alerts away, and what is in the way tells nothing of it.
  const std::string pause = pauseTitle(snapshot.notificationPause, now, timeZoneIdentifier);
  if (isPauseInForce(snapshot.notificationPause, now) && pause != title) rows += fmt::format("{:<16}{}.\n", "", pause);
  return rows;
}

struct LoginItemName {
  std::string operator()(const login_item::Enabled&) const { return "enabled"; }
  std::string operator()(const login_item::Disabled&) const { return "disabled"; }
  std::string operator()(const login_item::RequiresApproval&) const { return "requiresApproval"; }
  std::string operator()(const login_item::Unavailable&) const { return "unavailable"; }
};

/// Without the identifier that the relay knows the phone by.
Json phoneJson(const RelayPhoneStatus& phone) {
  Json value = phone.json();
  value.erase("deviceID");
  return value;
}

Json pauseJson(const NotificationPauseSnapshot& pause) {
  Json value = {{"paused", pause.isPaused()}};
  if (pause.pausedUntil) value["pausedUntil"] = formattedISO8601(*pause.pausedUntil);
  return value;
}

}  // namespace

std::string statusOverview(const MacStatusSnapshot& snapshot, Date now, const std::string& timeZoneIdentifier) {
  std::string text = fmt::format("Tallyfox: {}\n{}\n\n", headerTitle(snapshot), headerSubtitle(snapshot));
  text += row("iPhone Pairing", phoneCardTitle(snapshot), phoneStatusDetail(snapshot));
  text += row("Location", installLocationRow(snapshot));
  text += row("Accessibility", accessibilityRow(snapshot));
  text += row("Login Item", loginItemRow(snapshot));
  text += pauseRows(snapshot, now, timeZoneIdentifier);
  if (isUpdateRowVisible(snapshot))
    text += fmt::format("{:<16}Version {}.\n", "Update Ready",
                        withoutControlCharacters(snapshot.updateAvailability.displayVersion.value_or("unknown")));
  return text + fmt::format("{:<16}{}", "Open Dialogs", snapshot.pendingApprovalCount);
}

Json statusJson(const MacStatusSnapshot& snapshot) {
  Json value = {{"overall", overallStatus(snapshot).text},
                {"installedInApplications", snapshot.installedInApplications},
                {"accessibilityTrusted", snapshot.accessibilityTrusted},
                {"loginItem", std::visit(LoginItemName{}, snapshot.loginItemStatus)},
                {"relayConfigured", snapshot.relayConfigured},
                {"relayConnected", snapshot.relayConnected},
                {"phoneConnected", snapshot.phoneConnected},
                {"phoneCount", snapshot.phoneCount},
                {"phones", Json::array()},
                {"alerts", pauseJson(snapshot.notificationPause)},
                {"pendingApprovalCount", snapshot.pendingApprovalCount},
                {"hasPairingCode", snapshot.pairingImage.has_value()},
                {"updateAvailable", snapshot.updateAvailability.isUpdateAvailable}};
  for (const RelayPhoneStatus& phone : snapshot.connectedPhones)
    value["phones"].push_back(phoneJson(phone));
  if (const auto& version = snapshot.updateAvailability.displayVersion) value["updateVersion"] = *version;
  return value;
}

}  // namespace tallyfox
