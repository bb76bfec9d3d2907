#pragma once

#include <expected>
#include <string>
#include <vector>

#include "model/ControlRequest.hpp"

namespace tallyfox::linux_os {

/// What the program was started for.
struct CommandLine {
  enum class Purpose { runAgent, showHelp, showVersion, askAgent, examine };

  Purpose purpose = Purpose::runAgent;
  ControlRequest request;  ///< what the running agent is asked
  bool json = false;       ///< its status, or what was found, is wanted for a program

  bool operator==(const CommandLine&) const = default;
  /// From the arguments without the program's name. Fails with one line that says what is wrong.
  [[nodiscard]] static std::expected<CommandLine, std::string> parsed(const std::vector<std::string>& arguments);
};

[[nodiscard]] std::string usageText();

}  // namespace tallyfox::linux_os
