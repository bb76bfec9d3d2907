#include "app/ApprovalStore.hpp"

#include <algorithm>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "base/Require.hpp"

namespace tallyfox {
namespace {

/// Keeps now + duration inside what a Date can hold: about thirty years.
constexpr Seconds longestRetention{1e9};

template <typename Value>
std::optional<Value> entry(const std::unordered_map<Uuid, Value>& map, const Uuid& key) {
  const auto found = map.find(key);
  return found == map.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

ApprovalStore::ApprovalStore(Seconds staleAfter, Clock& clock)
    : queue_("quarrystone.approval-store"), staleAfter_(staleAfter), clock_(clock) {}

void ApprovalStore::replace(const std::vector<PendingApproval>& approvals) {
  queue_.sync([&] {
    const Date now = clock_.now();
    purgeRetainedIdentityMappings(now);

    std::unordered_set<Uuid> seen;
    for (const PendingApproval& scanned : approvals) {
      const auto [mapping, isNewDialog] = approvalIDByFingerprint_.try_emplace(scanned.id);
      if (isNewDialog) {
        mapping->second = Uuid::random();
        fingerprintByApprovalID_.emplace(mapping->second, scanned.id);
      }
      const Uuid approvalID = mapping->second;
      const auto [stored, isNewApproval] = approvalsByID_.try_emplace(approvalID, scanned);
      if (!isNewApproval) {
        const Date firstDetected = stored->second.detectedAt;
        stored->second = scanned;
        stored->second.detectedAt = firstDetected;
      }
      stored->second.id = approvalID;
      lastSeenByID_[approvalID] = now;
      retainedIdentityExpiresAtByApprovalID_.erase(approvalID);
      seen.insert(approvalID);
    }

    std::erase_if(approvalsByID_, [&](const auto& item) {
      const Uuid id = item.first;
      if (seen.contains(id)) return false;
      // A clock that was set back must not lengthen the grace.
      Date& lastSeen = lastSeenByID_.at(id);
      lastSeen = std::min(lastSeen, now);
      if (now - lastSeen <= staleAfter_) return false;
      lastSeenByID_.erase(id);
      removeFingerprintMapping(id);
      return true;
    });
    checkInvariants();
  });
}

std::vector<PendingApproval> ApprovalStore::all() const {
  return queue_.sync([&] {
    std::vector<PendingApproval> result;
    result.reserve(approvalsByID_.size());
    for (const auto& [id, approval] : approvalsByID_)
      result.push_back(approval);
    // The id decides between equals, so that an unchanged store always gives the same list and thus the same digest.
    std::ranges::sort(result, {}, [](const PendingApproval& a) { return std::tie(a.detectedAt, a.id); });
    return result;
  });
}

std::optional<PendingApproval> ApprovalStore::approval(const Uuid& id) const {
  return queue_.sync([&] { return entry(approvalsByID_, id); });
}

void ApprovalStore::remove(const Uuid& id, std::optional<Seconds> retainingIdentityFor) {
  queue_.sync([&] {
    approvalsByID_.erase(id);
    lastSeenByID_.erase(id);
    if (retainingIdentityFor && *retainingIdentityFor > Seconds(0) && fingerprintByApprovalID_.contains(id)) {
      const Seconds duration = std::min(*retainingIdentityFor, longestRetention);
      retainedIdentityExpiresAtByApprovalID_[id] = clock_.now() + std::chrono::duration_cast<Date::duration>(duration);
    } else {
      removeFingerprintMapping(id);
    }
    checkInvariants();
  });
}

void ApprovalStore::removeSuppressed(const Uuid& suppressionID) {
  queue_.sync([&] {
    std::erase_if(approvalsByID_, [&](const auto& item) {
      if (item.second.suppressionID != suppressionID) return false;
      lastSeenByID_.erase(item.first);
      removeFingerprintMapping(item.first);
      return true;
    });
    checkInvariants();
  });
}

void ApprovalStore::purgeRetainedIdentityMappings(Date expiredBefore) {
  std::vector<Uuid> expired;
  for (const auto& [id, expiresAt] : retainedIdentityExpiresAtByApprovalID_) {
    if (expiresAt <= expiredBefore) expired.push_back(id);
  }
  for (const Uuid& id : expired) {
    retainedIdentityExpiresAtByApprovalID_.erase(id);
    if (!approvalsByID_.contains(id)) removeFingerprintMapping(id);
  }
}

void ApprovalStore::removeFingerprintMapping(const Uuid& id) {
  retainedIdentityExpiresAtByApprovalID_.erase(id);
  if (const auto mapping = fingerprintByApprovalID_.extract(id)) approvalIDByFingerprint_.erase(mapping.mapped());
}

void ApprovalStore::checkInvariants() const {
  for (const auto& [id, approval] : approvalsByID_) {
    require(approval.id == id, "an approval is kept under its own id");
    require(lastSeenByID_.contains(id), "every approval has a time at which it was last seen");
    require(fingerprintByApprovalID_.contains(id), "every approval has a fingerprint");
  }
  require(lastSeenByID_.size() == approvalsByID_.size(), "only approvals have a time at which they were last seen");
  require(fingerprintByApprovalID_.size() == approvalIDByFingerprint_.size(), "the fingerprint maps are inverse");
  for (const auto& [id, fingerprint] : fingerprintByApprovalID_) {
    require(entry(approvalIDByFingerprint_, fingerprint) == id, "the fingerprint maps are inverse");
  }
  for (const auto& [id, expiresAt] : retainedIdentityExpiresAtByApprovalID_) {
    require(fingerprintByApprovalID_.contains(id), "only a kept fingerprint has an expiry");
  }
}

}  // namespace tallyfox
