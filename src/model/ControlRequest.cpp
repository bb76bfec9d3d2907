#include "model/ControlRequest.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <utility>

namespace tallyfox {
namespace {

constexpr std::array<std::pair<std::string_view, ControlCommand>, 5> commands = {{
    {"status", ControlCommand::status},
    {"show", ControlCommand::show},
    {"pause", ControlCommand::pause},
    {"resume", ControlCommand::resume},
    {"quit", ControlCommand::quit},
}};
constexpr std::array<std::pair<std::string_view, NotificationPauseOption>, 4> pauseLengths = {{
    {"2h", NotificationPauseOption::twoHours},
    {"4h", NotificationPauseOption::fourHours},
    {"tomorrow", NotificationPauseOption::untilTomorrow},
    {"forever", NotificationPauseOption::indefinitely},
}};

template <typename Table>
auto named(const Table& table, std::string_view word) {
  const auto found = std::ranges::find(table, word, &Table::value_type::first);
  return found == table.end() ? std::nullopt : std::optional(found->second);
}

template <typename Table, typename Value>
std::string nameOf(const Table& table, Value value) {
  return std::string(std::ranges::find(table, value, &Table::value_type::second)->first);
}

}  // namespace

std::optional<ControlCommand> controlCommandNamed(std::string_view word) {
  return named(commands, word);
}

std::optional<NotificationPauseOption> pauseLengthNamed(std::string_view word) {
  return named(pauseLengths, word);
}

Json ControlRequest::json() const {
  Json value = {{"version", version}, {"command", nameOf(commands, command)}};
  if (command == ControlCommand::pause) value["length"] = nameOf(pauseLengths, pauseLength);
  return value;
}

std::expected<ControlRequest, DecodingError> ControlRequest::decoded(const Json& value) {
  JsonObjectReader reader(value);
  const std::int64_t asked = reader.integer("version", 0, std::numeric_limits<std::int64_t>::max());
  if (!reader.error() && asked != version)
    reader.fail({fmt::format("This agent takes commands of version {}, not {}.", version, asked)});
  ControlRequest request;
  if (const auto command = controlCommandNamed(reader.string("command")))
    request.command = *command;
  else
    reader.fail({"The agent does not know this command."});
  if (request.command == ControlCommand::pause) {
    if (const auto length = pauseLengthNamed(reader.string("length")))
      request.pauseLength = *length;
    else
      reader.fail({"The agent does not know this length of a pause."});
  }
  return reader.finish(request);
}

}  // namespace tallyfox
