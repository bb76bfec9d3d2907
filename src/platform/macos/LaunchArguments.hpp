#pragma once

#include <expected>
#include <string>
#include <vector>

namespace tallyfox::mac_os {

/// What the program was started for.
enum class LaunchPurpose { runAgent, showHelp, showVersion };

/// From the arguments without the program's name. Arguments with one dash are the system's (languages, defaults for
/// this launch, the process number that older systems pass), and so is the value behind such a one. Fails with one line
/// that says what is wrong.
[[nodiscard]] std::expected<LaunchPurpose, std::string> launchPurpose(const std::vector<std::string>& arguments);

[[nodiscard]] std::string usageText();

}  // namespace tallyfox::mac_os
