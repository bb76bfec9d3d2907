#pragma once

#include <optional>
#include <string>

#include "app/NotificationPauseStore.hpp"
#include "app/RelaySession.hpp"
#include "app/ScanCycle.hpp"
#include "model/GrayscaleImage.hpp"
#include "pairing/PairingConfiguration.hpp"
#include "pairing/PairingPayload.hpp"
#include "platform/Accessibility.hpp"
#include "platform/ApplicationBundle.hpp"
#include "system/LoginItemManager.hpp"
#include "system/UpdateManager.hpp"
#include "ui/MacStatusSnapshot.hpp"

namespace tallyfox {

/// Gathers what the status window shows, anew each time. Main thread.
class StatusReport {
 public:
  struct Dependencies {
    Accessibility& accessibility;
    ApplicationBundle& bundle;
    PairingConfiguration& pairing;
    NotificationPauseStore& pauseStore;
    const ScanCycle& scanCycle;
    const RelaySession& relaySession;
    LoginItemManager& loginItem;
    const UpdateManager* updateManager;  ///< none where updates are not configured
  };
  explicit StatusReport(Dependencies dependencies) : dependencies_(dependencies) {}

  [[nodiscard]] MacStatusSnapshot currentStatusSnapshot();
  [[nodiscard]] std::string pairingCaption();

 private:
  [[nodiscard]] std::optional<GrayscaleImage> pairingImage();

  Dependencies dependencies_;
  /// The code is drawn again only for another payload.
  std::optional<PairingPayload> cachedPairingQRCodePayload_;
  std::optional<GrayscaleImage> cachedPairingQRCodeImage_;
};

}  // namespace tallyfox
