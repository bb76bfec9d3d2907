// For every run of scans the gate gives what its rule says when told over the whole history: a dialog passes when the
// scan before saw it too, and is counted since the last scan that missed it.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <set>
#include <unordered_set>
#include <vector>

#include "base/Generators.hpp"
#include "detection/PromptCandidateGate.hpp"

namespace tallyfox {
namespace {

using Scan = std::set<std::uint8_t>;

Uuid id(std::uint8_t number) {
  Uuid made;
  made.bytes[7] = number;
  return made;
}

/// How many scans up to `last` in a row saw the dialog.
std::int64_t streak(const std::vector<Scan>& history, std::size_t last, std::uint8_t dialog) {
  std::int64_t length = 0;
  for (std::size_t scan = last + 1; scan-- > 0 && history[scan].contains(dialog);)
    ++length;
  return length;
}

RC_GTEST_PROP(PromptCandidateGateProperties, agreesWithTheWholeHistory, ()) {
  constexpr std::uint8_t dialogs = 6;
  std::vector<Scan> history(*rc::gen::inRange<std::size_t>(0, 60));
  for (Scan& scan : history)
    for (std::uint8_t dialog = 0; dialog < dialogs; ++dialog)
      if (*rc::gen::arbitrary<bool>()) scan.insert(dialog);
  PromptCandidateGate gate;
  for (std::size_t scan = 0; scan < history.size(); ++scan) {
    std::unordered_set<Uuid> seen;
    std::unordered_set<Uuid> publishable;
    std::unordered_map<Uuid, std::int64_t> counts;
    for (const std::uint8_t dialog : history[scan]) {
      seen.insert(id(dialog));
      counts[id(dialog)] = streak(history, scan, dialog);
      if (scan > 0 && history[scan - 1].contains(dialog)) publishable.insert(id(dialog));
    }
    RC_ASSERT(gate.publishableIDs(seen) == publishable);
    RC_ASSERT(gate.observationCounts() == counts);
  }
}

}  // namespace
}  // namespace tallyfox
