#pragma once

#include <array>
#include <chrono>
#include <string>

#include "ui/StatusWindowModel.hpp"

namespace tallyfox::window_states {

inline const Date statesNow = parsedISO8601("2026-03-14T13:10:00Z").value();
inline const RelayPhoneStatus statesPhone{.deviceID = "1", .deviceName = "Work Phone", .platform = {}, .connected = {}};
inline constexpr const char* keychainLocked = "Keychain is unavailable (-25308).";

enum class Phone { none, connected, counted, listed };
enum class Pause { none, over, overNow, untilLater, forever };
enum class Update { none, unnamed, named };

/// One of all states of the window.
struct State {
  bool installed = false;
  bool trusted = false;
  int loginItem = 0;  ///< alternative of LoginItemStatus
  bool configured = false;
  bool connected = false;
  Phone phone = Phone::none;
  Pause pause = Pause::none;
  bool image = false;
  bool resetting = false;
  bool locked = false;
  bool requested = false;
  Update update = Update::none;

  [[nodiscard]] bool hasPhone() const { return phone != Phone::none; }
  [[nodiscard]] bool isPaused() const { return pause == Pause::untilLater || pause == Pause::forever; }
  [[nodiscard]] bool canReceive() const { return installed && trusted && configured && connected && hasPhone(); }
};

inline MacStatusSnapshot snapshotOf(const State& state) {
  const std::array<LoginItemStatus, 4> loginItems = {login_item::Enabled{}, login_item::Disabled{},
                                                     login_item::RequiresApproval{},
                                                     login_item::Unavailable{"It is so."}};
  const std::array<NotificationPauseSnapshot, 5> pauses = {
      {{},
       {.pausedUntil = statesNow - std::chrono::hours(1), .pausesIndefinitely = false},
       {.pausedUntil = statesNow, .pausesIndefinitely = false},
       {.pausedUntil = statesNow + std::chrono::hours(1), .pausesIndefinitely = false},
       {.pausedUntil = {}, .pausesIndefinitely = true}}};
  MacStatusSnapshot snapshot;
  snapshot.installedInApplications = state.installed;
  snapshot.accessibilityTrusted = state.trusted;
  snapshot.loginItemStatus = loginItems.at(static_cast<std::size_t>(state.loginItem));
  snapshot.relayConfigured = state.configured;
  snapshot.relayConnected = state.connected;
  snapshot.phoneConnected = state.phone == Phone::connected;
  snapshot.phoneCount = state.phone == Phone::counted ? 1 : 0;
  if (state.phone == Phone::listed) snapshot.connectedPhones = {statesPhone};
  snapshot.notificationPause = pauses.at(static_cast<std::size_t>(state.pause));
  if (state.image) snapshot.pairingImage = GrayscaleImage{.width = 1, .height = 1, .pixels = {0}};
  snapshot.pairingCaption = pairingCaption(state.trusted, state.image);
  snapshot.updateAvailability = {.isUpdateAvailable = state.update != Update::none, .displayVersion = std::nullopt};
  if (state.update == Update::named) snapshot.updateAvailability.displayVersion = "2.1";
  return snapshot;
}

inline StatusWindowModel modelOf(const State& state) {
  StatusWindowContext context{.now = statesNow,
                              .timeZoneIdentifier = "Etc/UTC",
                              .pairingResetInProgress = state.resetting,
                              .credentialError = std::nullopt,
                              .isCodeRequested = state.requested};
  if (state.locked) context.credentialError = keychainLocked;
  return statusWindowModel(snapshotOf(state), context);
}

inline std::string described(const State& state) {
  std::string text;
  const auto add = [&](const char* name, bool holds) { text += std::string(holds ? " " : " not ") + name; };
  add("installed", state.installed);
  add("trusted", state.trusted);
  text += " login " + std::to_string(state.loginItem);
  add("configured", state.configured);
  add("connected", state.connected);
  text += " phone " + std::to_string(static_cast<int>(state.phone));
  text += " pause " + std::to_string(static_cast<int>(state.pause));
  add("image", state.image);
  add("resetting", state.resetting);
  add("locked", state.locked);
  add("requested", state.requested);
  return text + " update " + std::to_string(static_cast<int>(state.update));
}

/// Counts in mixed radix over all conditions.
inline State stateOf(std::size_t number) {
  const auto next = [&](std::size_t choices) {
    const std::size_t choice = number % choices;
    number /= choices;
    return choice;
  };
  State state;
  state.installed = next(2) != 0;
  state.trusted = next(2) != 0;
  state.loginItem = static_cast<int>(next(4));
  state.configured = next(2) != 0;
  state.connected = next(2) != 0;
  state.phone = static_cast<Phone>(next(4));
  state.pause = static_cast<Pause>(next(5));
  state.image = next(2) != 0;
  state.resetting = next(2) != 0;
  state.locked = next(2) != 0;
  state.requested = next(2) != 0;
  state.update = static_cast<Update>(next(3));
  return state;
}
inline constexpr std::size_t stateCount = std::size_t{2 * 2 * 4 * 2 * 2 * 4 * 5} * 2 * 2 * 2 * 2 * 3;

}  // namespace tallyfox::window_states
