#pragma once

// The states in which an owner finds the status window, for pictures and for tests that look at what is painted.

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.hpp"
#include "pairing/PairingPayload.hpp"
#include "pairing/QRCodeRenderer.hpp"
#include "ui/StatusTexts.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::gallery {

inline constexpr std::array<std::string_view, 9> stateNames = {
    "no-setup",     "connecting",     "ready-to-scan",    "paired",          "pair-another",
    "paused-until", "paused-forever", "update-available", "keychain-locked",
};

struct State {
  MacStatusSnapshot snapshot;
  StatusWindowContext context;
  [[nodiscard]] StatusWindowModel model() const { return statusWindowModel(snapshot, context); }
};

/// What the code of these states says; as long as a real one.
inline std::string pairingText() {
  PairingPayload payload;
  payload.backendURL = "https://relay.tallyfox.example.com";
  payload.pairingID = "tallyfox-6f1c2a7e-5a0d-4f5e-9a53-0c8a3b1d2e4f";
  payload.relaySecret = std::string(64, 'a');
  payload.e2eSecret = std::string(64, '7');
  return payload.encoded();
}

/// Set up, connected, one phone known, 2026-03-14 13:10.
inline State pairedState() {
  State state;
  state.context.now = Date(std::chrono::sys_days{std::chrono::March / 14 / 2026}) + std::chrono::minutes(13 * 60 + 10);
  state.context.timeZoneIdentifier = "Etc/UTC";
  constexpr int pixelsPerModule = 10;
  state.snapshot = {.installedInApplications = true,
                    .accessibilityTrusted = true,
                    .loginItemStatus = login_item::Enabled{},
                    .relayConfigured = true,
                    .relayConnected = true,
                    .phoneConnected = true,
                    .phoneCount = 1,
                    .connectedPhones = {{"device-7", "Maria’s iPhone", "ios", true}},
                    .notificationPause = {},
                    .pendingApprovalCount = 0,
                    .pairingImage = QRCodeRenderer::image(bytesOf(pairingText()), pixelsPerModule),
                    .pairingCaption = pairingCaption(true, true),
                    .updateAvailability = {}};
  return state;
}

inline void forgetPhones(State& state) {
  state.snapshot.phoneConnected = false;
  state.snapshot.phoneCount = 0;
  state.snapshot.connectedPhones.clear();
}

/// Absent for an unknown name.
inline std::optional<State> stateNamed(std::string_view name) {
  State state = pairedState();
  if (name == "paired") return state;
  if (name == "no-setup") {
    forgetPhones(state);
    state.snapshot.accessibilityTrusted = false;
    state.snapshot.relayConnected = false;
    state.snapshot.loginItemStatus = login_item::Disabled{};
    state.snapshot.installedInApplications = false;
    state.snapshot.pairingImage.reset();
    state.snapshot.pairingCaption = pairingCaption(false, false);
  } else if (name == "connecting") {
    forgetPhones(state);
    state.snapshot.relayConnected = false;
  } else if (name == "ready-to-scan") {
    forgetPhones(state);
  } else if (name == "pair-another") {
    state.context.isCodeRequested = true;
  } else if (name == "paused-until") {
    state.snapshot.notificationPause.pausedUntil = state.context.now + std::chrono::hours(2);
  } else if (name == "paused-forever") {
    state.snapshot.notificationPause.pausesIndefinitely = true;
  } else if (name == "update-available") {
    state.snapshot.updateAvailability = {.isUpdateAvailable = true, .displayVersion = "2.1"};
  } else if (name == "keychain-locked") {
    forgetPhones(state);
    state.snapshot.relayConnected = false;
    state.context.credentialError = "Keychain is unavailable (-25308). Unlock the login keychain and reopen Tallyfox.";
  } else {
    return std::nullopt;
  }
  return state;
}

}  // namespace tallyfox::gallery
