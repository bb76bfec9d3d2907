#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "app/AgentConfiguration.hpp"
#include "app/AgentInterface.hpp"
#include "app/ApprovalStore.hpp"
#include "app/NotificationPauseStore.hpp"
#include "base/Console.hpp"
#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "model/PendingApproval.hpp"
#include "pairing/PairingConfiguration.hpp"
#include "platform/Accessibility.hpp"
#include "platform/ApplicationBundle.hpp"
#include "platform/UserNotifications.hpp"

namespace tallyfox {

/// From a request for a scan to what owner and phone see: one scan at a time, its result merged, counted, notified and
/// published. Main thread.
class ScanCycle {
 public:
  struct Dependencies {
    SerialQueue& mainQueue;
    Console& console;
    Accessibility& accessibility;
    ApplicationBundle& bundle;
    UserNotifications& notifications;
    AgentInterface& interface;
    const AgentConfiguration& configuration;
    PairingConfiguration& pairing;
    ApprovalStore& store;
    NotificationPauseStore& pauseStore;
    /// Looks at the screen once, off the main thread; answers once, on the main queue.
    std::function<void(std::function<void(std::vector<PendingApproval>)> completion)> scan;
    /// Hands a list to the relay; does nothing without a connection.
    std::function<void(const std::vector<PendingApproval>&, bool accessibilityTrusted, bool force)> publishSnapshot;
  };
  explicit ScanCycle(Dependencies dependencies);

  /// Starts a scan, or makes one follow the scan in flight. Nothing without a usable relay configuration. The reason is
  /// for the reader of a call only.
  void scheduleScan(const std::string& reason);
  /// A scan and one that confirms it: a dialog is reported from the second scan on that sees it, so where no further
  /// event is to be expected, one scan alone would bring nothing new to light.
  void scheduleConfirmedScan(const std::string& reason);
  /// The scan in flight, if any, began before something that it cannot know: its result will be thrown away and a new
  /// scan takes its place.
  void discardScanInFlight();
  /// Sends the phone the current list: an empty one while untrusted or paused.
  void publishCurrentApprovalSnapshot(bool force);
  /// Shows a count to the owner.
  void updateStatus(std::int64_t count);
  /// Takes the count from the store again and shows it.
  void recount();
  /// What is left without accessibility: nothing counted, nothing notified, an empty list at the phone. The store keeps
  /// its approvals for their grace, in case the permission comes back at once.
  void emptyWithoutTrust();
  /// Ends all work for good.
  void stop();

  [[nodiscard]] std::int64_t pendingApprovalCount() const { return pendingApprovalCount_; }

 private:
  void finishScan(const std::vector<PendingApproval>& approvals);
  /// Lets one scan's result take effect.
  void take(const std::vector<PendingApproval>& approvals);
  void notifyNew(const std::vector<PendingApproval>& current);
  void notify(const PendingApproval& approval);
  void scheduleStaleCleanupIfNeeded(std::size_t scannedCount, std::size_t publishedCount);

  Dependencies dependencies_;
  std::int64_t pendingApprovalCount_ = 0;
  bool scanInFlight_ = false;
  bool scanRequestedWhileInFlight_ = false;
  bool followUpNeedsConfirmation_ = false;
  bool scanOutdated_ = false;
  bool isStopped_ = false;
  std::unordered_set<Uuid> lastNotifiedIDs_;
  ScheduledHandle staleCleanupTask_;
  Lifetime lifetime_;
};

}  // namespace tallyfox
