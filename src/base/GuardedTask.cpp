#include "base/GuardedTask.hpp"

#include <fmt/format.h>

#include <exception>

#include "base/Require.hpp"

namespace tallyfox {

void runGuarded(std::string_view label, Task& task) {
  try {
    task();
  } catch (const std::exception&) {
    // The exception's own text may quote what a task worked on, so it stays out of the line.
    invariantBroken(fmt::format("no exception leaves a task of the queue {}", label), std::source_location::current());
  }
}

}  // namespace tallyfox
