#include "platform/macos/LaunchArguments.hpp"

#include <cstddef>

namespace tallyfox::mac_os {

std::expected<LaunchPurpose, std::string> launchPurpose(const std::vector<std::string>& arguments) {
  LaunchPurpose purpose = LaunchPurpose::runAgent;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--help" || argument == "-h") return LaunchPurpose::showHelp;
    if (argument == "--version") {
      purpose = LaunchPurpose::showVersion;
    } else if (argument.starts_with("-") && !argument.starts_with("--")) {
      if (i + 1 < arguments.size() && !arguments[i + 1].starts_with("-")) ++i;
    } else {
      return std::unexpected("There is no " + std::string(argument.starts_with("-") ? "option" : "command") + " \"" +
                             argument + "\".");
    }
  }
  return purpose;
}

std::string usageText() {
  return R"(Usage: Tallyfox [OPTION]

Watches this Mac for approval dialogs and lets a paired phone answer them.
Without an option the agent starts. Opening Tallyfox again shows its window.

  --help       show this text
  --version    show the version
)";
}

}  // namespace tallyfox::mac_os
