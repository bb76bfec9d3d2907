#pragma once

#include <set>
#include <string>

#include "base/SynchronousQueue.hpp"
#include "base/Uuid.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

/// The dialogs muted from the phone, kept in the user defaults. Any thread.
class ApprovalSuppressionStore {
 public:
  explicit ApprovalSuppressionStore(UserDefaults& defaults);
  void suppress(const Uuid& id);
  void unsuppress(const Uuid& id);
  [[nodiscard]] bool contains(const Uuid& id) const;

 private:
  void save();

  UserDefaults& defaults_;
  std::string key_;
  SynchronousQueue queue_;
  std::set<Uuid> suppressedIDs_;
};

}  // namespace tallyfox
