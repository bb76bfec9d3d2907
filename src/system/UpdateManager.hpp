#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/ApplicationBundle.hpp"
#include "platform/Updater.hpp"

namespace tallyfox {

/// Software updates, announced quietly: an update that was found by itself opens no window but is told of in the status
/// window until the owner turns to it. Main thread.
class UpdateManager : public UpdaterDelegate {
 public:
  /// Absent unless this is an application bundle whose information names an update feed (SUFeedURL) and the key that
  /// signs its updates (SUPublicEDKey), and the system has an updater.
  [[nodiscard]] static std::unique_ptr<UpdateManager> makeIfConfigured(
      ApplicationBundle& bundle, Updater* updater, std::function<void()> onUpdateAvailabilityChanged);

  UpdateManager(Updater& updater, std::function<void()> onUpdateAvailabilityChanged)
      : updater_(updater), onUpdateAvailabilityChanged_(std::move(onUpdateAvailabilityChanged)) {}

  /// Lets the updater look by itself from now on; once is enough.
  void start();
  void checkForUpdates();
  /// The display version of an update that waits for the owner.
  [[nodiscard]] const std::optional<std::string>& availableVersion() const { return availableVersion_; }

  bool supportsGentleScheduledUpdateReminders() override { return true; }
  bool shouldHandleShowingScheduledUpdate(const UpdateItem& update, bool inImmediateFocus) override;
  void willHandleShowingUpdate(bool isShownByUpdater, const UpdateItem& update) override;
  void didReceiveUserAttention(const UpdateItem& update) override;
  void willFinishUpdateSession() override;

 private:
  void forgetUpdate();

  Updater& updater_;
  std::function<void()> onUpdateAvailabilityChanged_;
  std::optional<std::string> availableVersion_;
  std::unique_ptr<RunningUpdater> running_;
};

}  // namespace tallyfox
