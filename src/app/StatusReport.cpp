#include "app/StatusReport.hpp"

#include "base/Bytes.hpp"
#include "pairing/QRCodeRenderer.hpp"
#include "system/InstallLocation.hpp"
#include "ui/StatusTexts.hpp"

namespace tallyfox {
namespace {

constexpr int pixelsPerModule = 10;

UpdateAvailabilitySnapshot updateAvailability(const UpdateManager* manager) {
  if (manager == nullptr || !manager->availableVersion()) return {};
  return {.isUpdateAvailable = true, .displayVersion = manager->availableVersion()};
}

}  // namespace

MacStatusSnapshot StatusReport::currentStatusSnapshot() {
  const RelayConnectionStatus& relay = dependencies_.relaySession.relayStatus();
  return {.installedInApplications = isRunningFromApplications(dependencies_.bundle),
          .accessibilityTrusted = dependencies_.accessibility.isProcessTrusted(),
          .loginItemStatus = dependencies_.loginItem.status(),
          .relayConfigured = dependencies_.pairing.isRelayConfigured(),
          .relayConnected = relay.relayConnected,
          .phoneConnected = relay.phoneConnected,
          .phoneCount = relay.phoneCount,
          .connectedPhones = relay.phones,
          .notificationPause = dependencies_.pauseStore.snapshot(),
          .pendingApprovalCount = dependencies_.scanCycle.pendingApprovalCount(),
          .pairingImage = pairingImage(),
          .pairingCaption = pairingCaption(),
          .updateAvailability = updateAvailability(dependencies_.updateManager)};
}

std::string StatusReport::pairingCaption() {
  const bool trusted = dependencies_.accessibility.isProcessTrusted();
  return tallyfox::pairingCaption(trusted, trusted && dependencies_.pairing.payload().has_value());
}

std::optional<GrayscaleImage> StatusReport::pairingImage() {
  if (!dependencies_.accessibility.isProcessTrusted()) return std::nullopt;
  const auto payload = dependencies_.pairing.payload();
  if (payload != cachedPairingQRCodePayload_) {
    cachedPairingQRCodeImage_ =
        payload ? QRCodeRenderer::image(bytesOf(payload->encoded()), pixelsPerModule) : std::nullopt;
    cachedPairingQRCodePayload_ = payload;
  }
  return cachedPairingQRCodeImage_;
}

}  // namespace tallyfox
