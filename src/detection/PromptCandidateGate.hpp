#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

#include "base/Uuid.hpp"

namespace tallyfox {

/// Lets a dialog through from the second consecutive scan that sees it. A value; not thread-safe.
class PromptCandidateGate {
 public:
  [[nodiscard]] std::unordered_set<Uuid> publishableIDs(const std::unordered_set<Uuid>& ids);
  [[nodiscard]] const std::unordered_map<Uuid, std::int64_t>& observationCounts() const { return observationCounts_; }

 private:
  std::unordered_map<Uuid, std::int64_t> observationCounts_;
};

}  // namespace tallyfox
