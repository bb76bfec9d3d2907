#pragma once

#include "platform/linux/CommandLine.hpp"
#include "platform/linux/UserDirectories.hpp"

namespace tallyfox::linux_os {

namespace exit_status {
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int usage = 2;
}  // namespace exit_status

/// Lets an agent of this user that runs already bring its window forward; false when there is none, or none that
/// answers.
[[nodiscard]] bool showRunningAgent(const UserDirectories& directories);

/// Asks the running agent what the command line says and prints its answer: to standard output what was done, to
/// standard error one line that says why nothing was. Gives the exit status.
[[nodiscard]] int askAgent(const CommandLine& commandLine, const UserDirectories& directories);

}  // namespace tallyfox::linux_os
