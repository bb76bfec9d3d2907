#include "system/UpdateManager.hpp"

#include <utility>

namespace tallyfox {
namespace {

bool isNamed(ApplicationBundle& bundle, const char* key) {
  return !bundle.informationValue(key).value_or("").empty();
}

}  // namespace

std::unique_ptr<UpdateManager> UpdateManager::makeIfConfigured(ApplicationBundle& bundle, Updater* updater,
                                                               std::function<void()> onUpdateAvailabilityChanged) {
  const bool isConfigured =
      bundle.isApplicationBundle() && isNamed(bundle, "SUFeedURL") && isNamed(bundle, "SUPublicEDKey");
  if (updater == nullptr || !isConfigured) return nullptr;
  return std::make_unique<UpdateManager>(*updater, std::move(onUpdateAvailabilityChanged));
}

void UpdateManager::start() {
  if (!running_) running_ = updater_.start(*this);
}

void UpdateManager::checkForUpdates() {
  start();
  running_->checkForUpdates();
}

bool UpdateManager::shouldHandleShowingScheduledUpdate(const UpdateItem& /*update*/, bool /*inImmediateFocus*/) {
  return false;
}

void UpdateManager::willHandleShowingUpdate(bool isShownByUpdater, const UpdateItem& update) {
  if (isShownByUpdater) return;
  availableVersion_ = update.displayVersion;
  onUpdateAvailabilityChanged_();
}

void UpdateManager::didReceiveUserAttention(const UpdateItem& /*update*/) {
  forgetUpdate();
}

void UpdateManager::willFinishUpdateSession() {
  forgetUpdate();
}

void UpdateManager::forgetUpdate() {
  if (std::exchange(availableVersion_, std::nullopt)) onUpdateAvailabilityChanged_();
}

}  // namespace tallyfox
