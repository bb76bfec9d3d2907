#pragma once

#include <memory>
#include <string>

namespace tallyfox {

/// Holds the advisory lock; destroying it unlocks and closes. The file stays.
class HeldLock {
 public:
  virtual ~HeldLock() = default;
};

enum class LockOutcome {
  acquired,
  heldByAnother,
  unavailable,  ///< the file cannot be opened
};

struct LockResult {
  LockOutcome outcome = LockOutcome::unavailable;
  std::unique_ptr<HeldLock> lock;  ///< present when acquired
};

/// Exclusive, non-blocking locks on files of the user's temporary directory (mode 0600, content never written).
class InstanceLock {
 public:
  virtual ~InstanceLock() = default;
  [[nodiscard]] virtual LockResult acquire(const std::string& fileName) = 0;
};

}  // namespace tallyfox
