#include "app/InterfaceWiring.hpp"

namespace tallyfox {

InterfaceActions interfaceActionsOf(const std::unique_ptr<AppDelegate>& agent, Clock& clock, Environment& environment) {
  return {.snapshot = [&agent] { return agent->currentStatusSnapshot(); },
          .context =
              [&agent, &clock, &environment] {
                return StatusWindowContext{.now = clock.now(),
                                           .timeZoneIdentifier = environment.timeZoneIdentifier(),
                                           .pairingResetInProgress = agent->pairingResetInProgress(),
                                           .credentialError = agent->credentialError()};
              },
          .onEnableLoginItem = [&agent] { agent->enableLoginItem(); },
          .onUnpairPhone = [&agent] { agent->unpairPhoneFromStatusWindow(); },
          .onCheckForUpdates = [&agent] { agent->checkForUpdates(); },
          .onPauseNotifications = [&agent](NotificationPauseOption option) { agent->pauseNotifications(option); },
          .onResumeNotifications = [&agent] { agent->resumeNotifications(); },
          .openAccessibilitySettings = [&agent] { agent->requestPermissions(); },
          .quit = [&agent] { agent->quit(); }};
}

}  // namespace tallyfox
