#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {

/// One process of this machine, held by a descriptor of the kernel: a later process with the same number is another
/// one.
class RunningProcess {
 public:
  /// Absent when there is no such process.
  [[nodiscard]] static std::optional<RunningProcess> open(std::int32_t processIdentifier);

  /// Becomes readable when the process ends.
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }
  /// False from the moment of its end, also before its parent has taken notice.
  [[nodiscard]] bool isRunning() const;
  /// Sends SIGTERM.
  void requestTermination() const;

 private:
  explicit RunningProcess(posix_os::FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}
  posix_os::FileDescriptor descriptor_;
};

[[nodiscard]] bool isProcessRunning(std::int32_t processIdentifier);
/// The short name that the kernel keeps (at most 15 bytes), as valid UTF-8; empty when the process is gone.
[[nodiscard]] std::string processName(std::int32_t processIdentifier);
/// The file name of the program that the process runs, also when that file was replaced or removed since. Absent when
/// the process is gone or belongs to another user.
[[nodiscard]] std::optional<std::string> executableName(std::int32_t processIdentifier);
/// Whether the process belongs to the user of this process.
[[nodiscard]] bool isOwnUsersProcess(std::int32_t processIdentifier);

}  // namespace tallyfox::linux_os
