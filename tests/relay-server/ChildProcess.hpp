#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace tallyfox::server::testing {

/// The read end of a pipe, with an end to every wait.
class PipeReader {
 public:
  PipeReader();
  ~PipeReader();
  PipeReader(const PipeReader&) = delete;
  PipeReader& operator=(const PipeReader&) = delete;
  [[nodiscard]] int writer() const { return ends_[1]; }
  void closeWriter();
  /// One line, or all that came before the end or the end of patience.
  std::string line();

 private:
  int ends_[2] = {-1, -1};
};

/// A program of its own, killed with its owner.
class ChildProcess {
 public:
  /// Its errors go to the pipe, or, when one is named, to a file, where they need no reader.
  explicit ChildProcess(std::vector<std::string> command, const std::string& errorFile = "");
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void signal(int number) const;
  /// The exit code, or minus the signal that ended it.
  int ended();
  [[nodiscard]] bool running() const { return pid_ > 0; }

  PipeReader output, errors;

 private:
  pid_t pid_ = -1;
};

}  // namespace tallyfox::server::testing
