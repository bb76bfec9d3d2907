#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Date.hpp"
#include "platform/linux/RunningProcess.hpp"
#include "platform/linux/UserDirectories.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {

enum class ControlFailure {
  noAgent,   ///< nobody takes commands
  noAnswer,  ///< the agent took the connection and did not answer, or not with a line
};

/// One command to the running agent of this user. Blocks its thread.
class ControlClient {
 public:
  /// `patience` bounds each wait for the agent.
  [[nodiscard]] static std::expected<ControlClient, ControlFailure> connected(const UserDirectories& directories,
                                                                              Seconds patience);

  /// Sends one line and gives the line that comes back, both without the line break. Once.
  [[nodiscard]] std::expected<std::string, ControlFailure> ask(std::string_view line);
  /// Waits for the end of the agent's process; false when it has not ended within `patience`.
  [[nodiscard]] bool waitForAgentsEnd() const;

 private:
  ControlClient(posix_os::FileDescriptor socket, std::optional<RunningProcess> agent, Seconds patience)
      : socket_(std::move(socket)), agent_(std::move(agent)), patience_(patience) {}

  posix_os::FileDescriptor socket_;
  std::optional<RunningProcess> agent_;
  Seconds patience_;
};

}  // namespace tallyfox::linux_os
