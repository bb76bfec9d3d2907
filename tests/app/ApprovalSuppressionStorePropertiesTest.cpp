// Random runs of muting, unmuting and restarts, held against a plain set: what is stored is that set, sorted, after
// every step.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/ApprovalSuppressionStore.hpp"
#include "base/Generators.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

RC_GTEST_PROP(ApprovalSuppressionStoreProperties, storesExactlyTheMutedDialogs, ()) {
  const auto ids = *rc::gen::unique<std::vector<Uuid>>(5, generate::uuid());
  memory::MemoryUserDefaults defaults;
  auto store = std::make_unique<ApprovalSuppressionStore>(defaults);
  std::set<std::string> muted;
  const auto steps = *rc::gen::inRange(1, 40);
  for (int count = 0; count < steps; ++count) {
    const Uuid id = *rc::gen::elementOf(ids);
    const auto action = *rc::gen::inRange(0, 3);
    if (action == 0) {
      store->suppress(id);
      muted.insert(id.text());
    } else if (action == 1) {
      store->unsuppress(id);
      muted.erase(id.text());
    } else {
      store = std::make_unique<ApprovalSuppressionStore>(defaults);
    }
    for (const Uuid& any : ids)
      RC_ASSERT(store->contains(any) == muted.contains(any.text()));
    if (action == 2) continue;
    const auto stored = defaults.object("tallyfox.suppressed-approval-ids");
    RC_ASSERT(stored == DefaultsValue(std::vector<std::string>(muted.begin(), muted.end())));
  }
}

}  // namespace
}  // namespace tallyfox
