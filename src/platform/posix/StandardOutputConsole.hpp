#pragma once

#include <unistd.h>

#include <mutex>

#include "base/Console.hpp"

namespace tallyfox::posix_os {

/// Lines on a descriptor, standard output by default. A line is one write; what cannot be written is lost.
class StandardOutputConsole : public Console {
 public:
  explicit StandardOutputConsole(int fd = STDOUT_FILENO) : fd_(fd) {}
  void printLine(std::string_view line) override;

 private:
  int fd_;
  std::mutex mutex_;
};

}  // namespace tallyfox::posix_os
