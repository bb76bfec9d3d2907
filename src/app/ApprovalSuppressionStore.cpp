#include "app/ApprovalSuppressionStore.hpp"

#include <variant>
#include <vector>

namespace tallyfox {

ApprovalSuppressionStore::ApprovalSuppressionStore(UserDefaults& defaults)
    : defaults_(defaults), key_("tallyfox.suppressed-approval-ids"), queue_("tallyfox.approval-suppression-store") {
  const auto stored = defaults_.object(key_);
  const auto* texts = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr;
  if (texts == nullptr) return;
  for (const std::string& text : *texts) {
    if (const auto id = Uuid::parsed(text)) suppressedIDs_.insert(*id);
  }
}

void ApprovalSuppressionStore::suppress(const Uuid& id) {
  queue_.sync([&] {
    suppressedIDs_.insert(id);
    save();
  });
}

void ApprovalSuppressionStore::unsuppress(const Uuid& id) {
  queue_.sync([&] {
    suppressedIDs_.erase(id);
    save();
  });
}

bool ApprovalSuppressionStore::contains(const Uuid& id) const {
  return queue_.sync([&] { return suppressedIDs_.contains(id); });
}

void ApprovalSuppressionStore::save() {
  // The order of the bytes is the order of their upper-case texts.
  std::vector<std::string> texts;
  for (const Uuid& id : suppressedIDs_)
    texts.push_back(id.text());
  defaults_.setObject(key_, texts);
}

}  // namespace tallyfox
