#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "base/Queue.hpp"
#include "base/SynchronousQueue.hpp"
#include "base/Uuid.hpp"
#include "model/PendingApproval.hpp"

namespace tallyfox {

/// The approvals that are reported now: stable ids over scans, a grace for dialogs that a scan misses. Any thread.
class ApprovalStore {
 public:
  ApprovalStore(Seconds staleAfter, Clock& clock);

  /// Merges one scan's result, whose ids are fingerprints.
  void replace(const std::vector<PendingApproval>& approvals);
  /// Oldest detection first.
  [[nodiscard]] std::vector<PendingApproval> all() const;
  [[nodiscard]] std::optional<PendingApproval> approval(const Uuid& id) const;
  /// With a positive duration the id stays reserved that long for the same dialog.
  void remove(const Uuid& id, std::optional<Seconds> retainingIdentityFor);
  void removeSuppressed(const Uuid& suppressionID);

 private:
  void purgeRetainedIdentityMappings(Date expiredBefore);
  void removeFingerprintMapping(const Uuid& id);
  void checkInvariants() const;

  SynchronousQueue queue_;
  Seconds staleAfter_;
  Clock& clock_;
  std::unordered_map<Uuid, PendingApproval> approvalsByID_;
  std::unordered_map<Uuid, Date> lastSeenByID_;
  std::unordered_map<Uuid, Uuid> approvalIDByFingerprint_;
  std::unordered_map<Uuid, Uuid> fingerprintByApprovalID_;
  std::unordered_map<Uuid, Date> retainedIdentityExpiresAtByApprovalID_;
};

}  // namespace tallyfox
