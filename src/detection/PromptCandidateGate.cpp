#include "detection/PromptCandidateGate.hpp"

namespace tallyfox {

std::unordered_set<Uuid> PromptCandidateGate::publishableIDs(const std::unordered_set<Uuid>& ids) {
  std::erase_if(observationCounts_, [&ids](const auto& entry) { return !ids.contains(entry.first); });
  std::unordered_set<Uuid> publishable;
  for (const Uuid& id : ids) {
    if (++observationCounts_[id] >= 2) publishable.insert(id);
  }
  return publishable;
}

}  // namespace tallyfox
