#include "app/ScanCycle.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tallyfox {
namespace {

/// Later than the grace by enough that the rescan finds it over.
constexpr Seconds staleCleanupMargin{0.5};

std::string onOneLine(std::string text) {
  std::ranges::replace_if(text, [](char c) { return c == '\n' || c == '\r'; }, ' ');
  return text;
}

}  // namespace

ScanCycle::ScanCycle(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

void ScanCycle::scheduleScan(const std::string& /*reason*/) {
  if (isStopped_ || !dependencies_.pairing.isRelayConfigured()) return;
  if (scanInFlight_) {
    scanRequestedWhileInFlight_ = true;
    return;
  }
  scanInFlight_ = true;
  dependencies_.scan(lifetime_.guard([this](const std::vector<PendingApproval>& approvals) { finishScan(approvals); }));
}

void ScanCycle::scheduleConfirmedScan(const std::string& reason) {
  // A scan in flight may have passed the place already: then its follow-up is the first of the two.
  followUpNeedsConfirmation_ |= scanInFlight_;
  if (!scanInFlight_) scheduleScan(reason);
  scheduleScan(reason);
}

void ScanCycle::discardScanInFlight() {
  scanOutdated_ = scanInFlight_;
}

void ScanCycle::finishScan(const std::vector<PendingApproval>& approvals) {
  scanInFlight_ = false;
  const bool again = std::exchange(scanRequestedWhileInFlight_, false);
  const bool confirmed = std::exchange(followUpNeedsConfirmation_, false);
  if (isStopped_) return;
  if (std::exchange(scanOutdated_, false)) {
    scheduleScan("scan-outdated");
  } else {
    take(approvals);
    if (again) scheduleScan("requested-while-in-flight");
  }
  if (confirmed) scheduleScan("confirmation");
}

void ScanCycle::take(const std::vector<PendingApproval>& approvals) {
  if (!dependencies_.accessibility.isProcessTrusted()) {
    emptyWithoutTrust();
    return;
  }
  dependencies_.store.replace(approvals);
  const std::vector<PendingApproval> current = dependencies_.store.all();
  pendingApprovalCount_ = static_cast<std::int64_t>(current.size());
  publishCurrentApprovalSnapshot(false);
  notifyNew(current);
  updateStatus(pendingApprovalCount_);
  scheduleStaleCleanupIfNeeded(approvals.size(), current.size());
}

void ScanCycle::emptyWithoutTrust() {
  dependencies_.store.replace({});
  pendingApprovalCount_ = 0;
  lastNotifiedIDs_.clear();
  updateStatus(0);
  publishCurrentApprovalSnapshot(false);
}

void ScanCycle::publishCurrentApprovalSnapshot(bool force) {
  const bool trusted = dependencies_.accessibility.isProcessTrusted();
  const bool isShown = trusted && !dependencies_.pauseStore.snapshot().isPaused();
  dependencies_.publishSnapshot(isShown ? dependencies_.store.all() : std::vector<PendingApproval>{}, trusted, force);
}

void ScanCycle::notifyNew(const std::vector<PendingApproval>& current) {
  if (!dependencies_.pauseStore.snapshot().isPaused()) {
    for (const PendingApproval& approval : current) {
      if (lastNotifiedIDs_.insert(approval.id).second) notify(approval);
    }
  }
  std::erase_if(lastNotifiedIDs_,
                [&](const Uuid& id) { return std::ranges::find(current, id, &PendingApproval::id) == current.end(); });
}

void ScanCycle::notify(const PendingApproval& approval) {
  if (!dependencies_.bundle.bundleIdentifier()) {
    dependencies_.console.printLine("Approval needed: " + onOneLine(approval.displayTitle()));
    return;
  }
  // Never the dialog's own text: notifications show on locked screens.
  dependencies_.notifications.add(
      {.identifier = approval.id.text(), .title = "Tallyfox", .body = "Your Mac needs approval."});
}

void ScanCycle::updateStatus(std::int64_t count) {
  dependencies_.interface.showPendingCount(count);
  dependencies_.interface.refreshStatusWindow();
}

void ScanCycle::recount() {
  pendingApprovalCount_ = static_cast<std::int64_t>(dependencies_.store.all().size());
  updateStatus(pendingApprovalCount_);
}

void ScanCycle::scheduleStaleCleanupIfNeeded(std::size_t scannedCount, std::size_t publishedCount) {
  staleCleanupTask_.reset();
  if (scannedCount >= publishedCount) return;
  const Seconds grace = dependencies_.configuration.approvalStaleGrace();
  if (!std::isfinite(grace.count())) return;
  staleCleanupTask_ = dependencies_.mainQueue.after(grace + staleCleanupMargin, lifetime_.guard([this] {
    staleCleanupTask_.reset();
    scheduleScan("stale-cleanup");
  }));
}

void ScanCycle::stop() {
  isStopped_ = true;
  staleCleanupTask_.reset();
}

}  // namespace tallyfox
