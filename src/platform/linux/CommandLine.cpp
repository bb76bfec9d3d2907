#include "platform/linux/CommandLine.hpp"

#include <algorithm>
#include <optional>
#include <string_view>

namespace tallyfox::linux_os {
namespace {

std::string quoted(const std::string& argument) {
  return '"' + argument + '"';
}

/// Applies the one argument that a command may have; gives what is wrong with it.
std::optional<std::string> apply(const std::string& argument, CommandLine& commandLine) {
  const bool asksAgent = commandLine.purpose == CommandLine::Purpose::askAgent;
  const ControlCommand command = commandLine.request.command;
  if ((!asksAgent || command == ControlCommand::status) && argument == "--json") {
    commandLine.json = true;
    return std::nullopt;
  }
  if (asksAgent && command == ControlCommand::pause && !argument.starts_with('-')) {
    const auto length = pauseLengthNamed(argument);
    if (!length) return "A pause lasts 2h, 4h, until tomorrow or forever; there is no pause " + quoted(argument) + ".";
    commandLine.request.pauseLength = *length;
    return std::nullopt;
  }
  return "There is no argument " + quoted(argument) + " of this command.";
}

}  // namespace

std::expected<CommandLine, std::string> CommandLine::parsed(const std::vector<std::string>& arguments) {
  CommandLine result;
  if (arguments.empty()) return result;
  const auto asksFor = [&](std::string_view name) { return std::ranges::find(arguments, name) != arguments.end(); };
  if (asksFor("--help") || asksFor("-h")) {
    result.purpose = Purpose::showHelp;
    return result;
  }
  const std::string& first = arguments.front();
  if (first == "--version") {
    result.purpose = Purpose::showVersion;
  } else if (first == "doctor") {
    result.purpose = Purpose::examine;
  } else if (const auto command = controlCommandNamed(first)) {
    result.purpose = Purpose::askAgent;
    result.request.command = *command;
  } else {
    return std::unexpected((first.starts_with('-') ? "There is no option " : "There is no command ") + quoted(first) +
                           ".");
  }
  if (arguments.size() > 2 || (arguments.size() == 2 && result.purpose == Purpose::showVersion))
    return std::unexpected("There is one argument too many: " + quoted(arguments.back()) + ".");
  if (arguments.size() == 2)
    if (auto problem = apply(arguments[1], result)) return std::unexpected(std::move(*problem));
  return result;
}

std::string usageText() {
  return R"(Usage: tallyfox [COMMAND]

Watches this desktop for approval dialogs and lets a paired phone answer them.
Without a command the agent starts. The commands talk to the agent that runs:

  status            show what the status window shows
  status --json     show it as one JSON object, for programs
  show              bring the status window forward, as starting Tallyfox again does
  pause [LENGTH]    pause alerts: 2h (the default), 4h, tomorrow (until 9 in the morning) or forever
  resume            end the pause
  quit              end the agent, and wait until it has ended

These need no agent:

  doctor            look for what keeps Tallyfox from working: the desktop, the relay, the keyring and more
  doctor --json     show it as one JSON object, for programs

  --help            show this text
  --version         show the version

Exit status: 0 done, 1 no agent runs, it could not do it, or the doctor found a problem, 2 wrong usage.
)";
}

}  // namespace tallyfox::linux_os
