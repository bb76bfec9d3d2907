// Random runs of scans, removals and waits, held against a plain list of what each dialog's fate should be: which
// records are reported, in which order, under which ids, and that no id ever comes back for another dialog. The store
// checks its own maps after every change.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "app/AgentWorld.hpp"
#include "app/ApprovalStore.hpp"
#include "model/Generators.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox {
namespace {

constexpr Seconds grace(8);

struct Entry {
  Uuid id;
  std::optional<PendingApproval> live;
  Date lastSeen{};
  std::optional<Date> reservedUntil;
};

/// What the store promises, one entry for each dialog that has an id. Ids are random, so they are learnt from the
/// store.
class Model {
 public:
  void replace(const std::vector<PendingApproval>& scan, Date now) {
    std::erase_if(entries_,
                  [&](const auto& item) { return item.second.reservedUntil && *item.second.reservedUntil <= now; });
    std::set<Uuid> seen;
    for (const PendingApproval& scanned : scan) {
      Entry& entry = entries_[scanned.id];
      const Date first = entry.live ? entry.live->detectedAt : scanned.detectedAt;
      entry.live = scanned;
      entry.live->detectedAt = first;
      entry.lastSeen = now;
      entry.reservedUntil.reset();
      seen.insert(scanned.id);
    }
    std::erase_if(entries_, [&](const auto& item) {
      return item.second.live && !seen.contains(item.first) && now - item.second.lastSeen > grace;
    });
  }

  void remove(const Uuid& id, std::optional<Seconds> duration, Date now) {
    const auto found = std::ranges::find(entries_, id, [](const auto& item) { return item.second.id; });
    if (found == entries_.end()) return;
    if (!duration || *duration <= Seconds(0)) {
      entries_.erase(found);
      return;
    }
    found->second.live.reset();
    found->second.reservedUntil = now + std::chrono::duration_cast<Date::duration>(*duration);
  }

  void removeSuppressed(const Uuid& suppressionID) {
    std::erase_if(entries_, [&](const auto& item) {
      return item.second.live && item.second.live->suppressionID == suppressionID;
    });
  }

  /// Takes over the ids of dialogs that have none yet; every such id must be new.
  void learn(const std::vector<PendingApproval>& reported) {
    for (auto& [fingerprint, entry] : entries_) {
      if (entry.id != Uuid{} || !entry.live) continue;
      const auto found = std::ranges::find(reported, entry.live->windowTitle, &PendingApproval::windowTitle);
      RC_ASSERT(found != reported.end());
      RC_ASSERT(found->id != fingerprint);
      RC_ASSERT(given_.insert(found->id).second);
      entry.id = found->id;
    }
  }

  [[nodiscard]] std::vector<PendingApproval> reported() const {
    std::vector<PendingApproval> records;
    for (const auto& [fingerprint, entry] : entries_) {
      if (!entry.live) continue;
      records.push_back(*entry.live);
      records.back().id = entry.id;
    }
    std::ranges::sort(records, {},
                      [](const PendingApproval& record) { return std::tie(record.detectedAt, record.id); });
    return records;
  }
  /// Every id that was ever in use.
  [[nodiscard]] const std::set<Uuid>& given() const { return given_; }

 private:
  std::map<Uuid, Entry> entries_;
  std::set<Uuid> given_;
};

std::vector<PendingApproval> randomScan(Date now) {
  std::vector<PendingApproval> scan;
  for (const auto dialog :
       *rc::gen::resize(5, rc::gen::container<std::vector<std::uint8_t>>(rc::gen::inRange<std::uint8_t>(1, 6)))) {
    PendingApproval scanned = scannedApproval(dialog, now - std::chrono::seconds(*rc::gen::inRange(0, 3)));
    scanned.suppressionID = {};
    scanned.suppressionID.bytes[0] = *rc::gen::inRange<std::uint8_t>(0, 3);
    scanned.messageLines = {*rc::gen::element<std::string>("one", "two")};
    scan.push_back(std::move(scanned));
  }
  return scan;
}

Uuid anyID(const Model& model) {
  if (model.given().empty() || *rc::gen::inRange(0, 8) == 0) return *generate::uuid();
  return *rc::gen::elementOf(model.given());
}

void step(ApprovalStore& store, Model& model, Date now) {
  switch (*rc::gen::weightedElement<int>({{5, 0}, {2, 1}, {1, 2}})) {
    case 0: {
      const auto scan = randomScan(now);
      store.replace(scan);
      model.replace(scan, now);
      break;
    }
    case 1: {
      const Uuid id = anyID(model);
      const auto duration = *rc::gen::element<std::optional<Seconds>>(
          std::nullopt, Seconds(-1), Seconds(0), Seconds(0.5), Seconds(5), Seconds(30), Seconds(1e300));
      store.remove(id, duration);
      model.remove(id, duration ? std::min(*duration, Seconds(1e9)) : duration, now);
      break;
    }
    default: {
      Uuid suppressionID;
      suppressionID.bytes[0] = *rc::gen::inRange<std::uint8_t>(0, 3);
      store.removeSuppressed(suppressionID);
      model.removeSuppressed(suppressionID);
    }
  }
}

RC_GTEST_PROP(ApprovalStoreProperties, agreesWithAPlainModel, ()) {
  memory::VirtualTime time;
  ApprovalStore store(grace, time.clock());
  Model model;
  const auto steps = *rc::gen::inRange(1, 60);
  for (int count = 0; count < steps; ++count) {
    time.advance(*rc::gen::element(Seconds(0), Seconds(0.5), Seconds(3), Seconds(8), Seconds(8.5), Seconds(31)));
    step(store, model, time.clock().now());
    const auto reported = store.all();
    model.learn(reported);
    RC_ASSERT(reported == model.reported());
    for (const Uuid& id : model.given()) {
      const auto found = std::ranges::find(reported, id, &PendingApproval::id);
      RC_ASSERT(store.approval(id) == (found == reported.end() ? std::nullopt : std::optional(*found)));
    }
  }
}

}  // namespace
}  // namespace tallyfox
