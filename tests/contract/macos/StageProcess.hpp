#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::contract {

enum class StageKind {
  application,  ///< in a bundle, with the identifier "org.example.contract"
  bare,         ///< an executable without a bundle
  background,   ///< in a bundle, but not in the Dock
};

/// The program that the contracts look at and press in: tests/contract/macos/stage/README.md has its commands. Every
/// command is answered once it is done, so nobody has to guess how long that takes. One thread at a time.
class StageProcess {
 public:
  /// Returns once the program has finished launching.
  explicit StageProcess(StageKind kind);
  /// Ends it, also while it hangs, and waits for that.
  ~StageProcess();
  StageProcess(const StageProcess&) = delete;
  StageProcess& operator=(const StageProcess&) = delete;

  [[nodiscard]] std::int32_t pid() const { return pid_; }
  [[nodiscard]] StageKind kind() const { return kind_; }
  /// The fields of the answer. A refused command, or one without an answer in half a minute, fails the test and gives
  /// none.
  std::vector<std::string> ask(const std::vector<std::string>& command);
  /// Takes notice of an end that somebody else brought about.
  [[nodiscard]] bool isRunning();
  void kill();

 private:
  std::string readLine();

  StageKind kind_;
  pid_t pid_ = 0;
  posix_os::FileDescriptor commands_;
  posix_os::FileDescriptor answers_;
  std::string unread_;
  bool hasEnded_ = false;
};

}  // namespace tallyfox::contract
