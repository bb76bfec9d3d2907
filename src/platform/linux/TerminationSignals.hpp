#pragma once

#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {

/// Turns SIGINT and SIGTERM into something to read, instead of their own effect. One at a time in a process.
class TerminationSignals {
 public:
  TerminationSignals();
  /// The signals end the process again.
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

  /// Readable once a signal has come.
  [[nodiscard]] int descriptor() const { return reading_.get(); }
  /// How many signals have come since the last call.
  [[nodiscard]] int take();

 private:
  posix_os::FileDescriptor reading_;
  posix_os::FileDescriptor writing_;
};

}  // namespace tallyfox::linux_os
