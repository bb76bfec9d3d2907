#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tallyfox::load {

/// A server under load, in a process of its own, so that its memory and time are its alone. Ended with this.
class ChildProcess {
 public:
  /// A program; what it writes to standard output and standard error goes to `log`.
  ChildProcess(std::vector<std::string> arguments, const std::string& log);
  /// A fork of this process, which must have one thread; `work` is given the end of a pipe for ready().
  explicit ChildProcess(const std::function<void(int ready)>& work);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The first line that the fork wrote to its pipe.
  [[nodiscard]] std::string ready() const;
  /// Asks it to stop, or kills it, and waits.
  void stop(bool kill = false);

  /// What its own data take in memory, without files and shared memory.
  [[nodiscard]] std::size_t residentBytes() const;
  [[nodiscard]] std::size_t openDescriptors() const;
  [[nodiscard]] double processorSeconds() const;

 private:
  pid_t pid_ = -1;
  int ready_ = -1;
};

/// A TCP port of the loopback that nobody has just now.
[[nodiscard]] unsigned freePort();

}  // namespace tallyfox::load
