#pragma once

#include <string>

#include "platform/InstanceLock.hpp"

namespace tallyfox::posix_os {

/// flock on files of `directory`, the user's temporary directory. A file that belongs to another user, or is no plain
/// file, is unavailable: on a shared /tmp nobody else decides whether this user's agent may run.
class FlockInstanceLock : public InstanceLock {
 public:
  explicit FlockInstanceLock(std::string directory) : directory_(std::move(directory)) {}
  LockResult acquire(const std::string& fileName) override;

 private:
  std::string directory_;
};

}  // namespace tallyfox::posix_os
