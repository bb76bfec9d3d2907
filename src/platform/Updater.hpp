#pragma once

#include <memory>
#include <string>

namespace tallyfox {

/// An update as its feed tells of it.
struct UpdateItem {
  std::string displayVersion;  ///< as people read it
  bool operator==(const UpdateItem&) const = default;
};

/// What an updater asks and tells while it works. Main thread.
class UpdaterDelegate {
 public:
  virtual ~UpdaterDelegate() = default;
  /// Whether an update that the updater found by itself may be pointed out by someone else, quietly.
  [[nodiscard]] virtual bool supportsGentleScheduledUpdateReminders() = 0;
  /// Whether the updater is to show an update that it found by itself, in a window of its own.
  [[nodiscard]] virtual bool shouldHandleShowingScheduledUpdate(const UpdateItem& update, bool inImmediateFocus) = 0;
  /// An update is about to be shown: by the updater, or else by whoever answered that it would.
  virtual void willHandleShowingUpdate(bool isShownByUpdater, const UpdateItem& update) = 0;
  /// The owner has turned to the update.
  virtual void didReceiveUserAttention(const UpdateItem& update) = 0;
  /// The update is installed, skipped or put off.
  virtual void willFinishUpdateSession() = 0;
};

/// An updater at work. Main thread; after its end the delegate hears nothing more.
class RunningUpdater {
 public:
  virtual ~RunningUpdater() = default;
  /// Looks for an update because the owner asked, and shows what comes of it. Does not wait.
  virtual void checkForUpdates() = 0;
};

/// Keeps the application up to date. Main thread.
class Updater {
 public:
  virtual ~Updater() = default;
  /// From now on looks for updates by itself, from time to time. The delegate outlives what is returned.
  [[nodiscard]] virtual std::unique_ptr<RunningUpdater> start(UpdaterDelegate& delegate) = 0;
};

}  // namespace tallyfox
