#include "RelayLog.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>
#include <variant>

namespace tallyfox::server {
namespace {

std::string_view nameOf(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "debug";
    case LogLevel::info:
      return "info";
    case LogLevel::warning:
      return "warning";
    case LogLevel::error:
      return "error";
  }
  std::unreachable();
}

/// As syslog counts.
int priorityOf(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return 7;
    case LogLevel::info:
      return 6;
    case LogLevel::warning:
      return 4;
    case LogLevel::error:
      return 3;
  }
  std::unreachable();
}

std::string_view nameOf(const LogField& field) {
  return logKeyNames.at(static_cast<std::size_t>(field.key()));
}

std::string textOf(const LogField& field) {
  return std::visit([](const auto& value) { return fmt::format("{}", value); }, field.value());
}

std::string timeText(Date time) {
  std::string text = formattedISO8601(time);
  const auto milliseconds =
      std::chrono::floor<std::chrono::milliseconds>(time - std::chrono::floor<std::chrono::seconds>(time));
  text.insert(text.size() - 1, fmt::format(".{:03}", milliseconds.count()));
  return text;
}

}  // namespace

std::string logSentence(const LogEvent& event, RelayLog::Fields fields) {
  std::string text;
  std::string_view rest = event.sentence;
  for (std::size_t gap = rest.find('{'); gap != std::string_view::npos; gap = rest.find('{')) {
    const std::size_t end = rest.find('}', gap);
    const auto* const field = std::ranges::find(fields, rest.substr(gap + 1, end - gap - 1),
                                                [](const LogField& each) { return nameOf(each); });
    text.append(rest.substr(0, gap)).append(field == fields.end() ? "-" : textOf(*field));
    rest.remove_prefix(end + 1);
  }
  return text.append(rest);
}

std::string logObject(const LogEvent& event, RelayLog::Fields fields, Date time) {
  Json object{{"time", timeText(time)}, {"level", nameOf(event.level)}, {"event", event.name}};
  for (const LogField& field : fields)
    std::visit([&](const auto& value) { object[std::string(nameOf(field))] = value; }, field.value());
  return jsonText(object);
}

void RelayLog::write(const LogEvent& event, Fields fields) {
  if (event.level < settings_.level) return;
  if (settings_.format == LogFormat::json) {
    const auto now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    console_.printLine(logObject(event, fields, now));
  } else if (settings_.priorities) {
    console_.printLine(fmt::format("<{}>{}", priorityOf(event.level), logSentence(event, fields)));
  } else {
    console_.printLine(logSentence(event, fields));
  }
}

}  // namespace tallyfox::server
