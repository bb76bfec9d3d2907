#include "platform/linux/AgentCommand.hpp"

#include <fmt/format.h>

#include <cstdio>
#include <string_view>

#include "model/ControlAnswer.hpp"
#include "platform/linux/ControlClient.hpp"

namespace tallyfox::linux_os {
namespace {

/// Longer than an agent presses a button, and than it takes to end.
constexpr Seconds patience{10.0};
/// An owner who starts an agent beside one that hangs waits for this.
constexpr Seconds summonsPatience{2.0};

int failure(std::string_view sentence) {
  fmt::print(stderr, "tallyfox: {}\n", sentence);
  return exit_status::failed;
}

int failure(ControlFailure reason) {
  return failure(reason == ControlFailure::noAgent ? "No agent is running." : "The agent does not answer.");
}

std::expected<ControlAnswer, DecodingError> parsedAnswer(std::string_view text) {
  const auto value = parsedJson(text);
  if (!value) return std::unexpected(value.error());
  return ControlAnswer::decoded(*value);
}

}  // namespace

bool showRunningAgent(const UserDirectories& directories) {
  auto client = ControlClient::connected(directories, summonsPatience);
  if (!client) return false;
  const auto line = client->ask(jsonText(ControlRequest{.command = ControlCommand::show}.json()));
  const auto answer = line ? parsedAnswer(*line) : std::unexpected(DecodingError{});
  return answer && answer->ok;
}

int askAgent(const CommandLine& commandLine, const UserDirectories& directories) {
  auto client = ControlClient::connected(directories, patience);
  if (!client) return failure(client.error());
  const auto line = client->ask(jsonText(commandLine.request.json()));
  if (!line) return failure(line.error());
  const auto answer = parsedAnswer(*line);
  if (!answer) return failure("The agent's answer cannot be understood.");
  if (!answer->ok) return failure(answer->text);
  if (commandLine.request.command == ControlCommand::quit && !client->waitForAgentsEnd())
    return failure("The agent was told to quit and has not ended yet.");
  fmt::print("{}\n", commandLine.json && answer->status ? jsonText(*answer->status) : answer->text);
  return exit_status::done;
}

}  // namespace tallyfox::linux_os
