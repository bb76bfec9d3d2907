#pragma once

#include <initializer_list>
#include <string>

#include "LogEvents.hpp"
#include "LogField.hpp"
#include "base/Console.hpp"
#include "base/Date.hpp"

namespace tallyfox::server {

enum class LogFormat : std::uint8_t { text, json };

struct LogSettings {
  LogFormat format = LogFormat::text;
  LogLevel level = LogLevel::info;  ///< events below it are left out
  bool priorities = false;          ///< text lines begin with the <N> that a journal takes for their priority
  bool operator==(const LogSettings&) const = default;
};

/// One line an event, as a sentence or as a JSON object. Tokens, names and frames cannot be passed in.
class RelayLog {
 public:
  using Fields = std::initializer_list<LogField>;

  explicit RelayLog(Console& console, const LogSettings& settings = {}) : console_(console), settings_(settings) {}

  [[nodiscard]] const LogSettings& settings() const { return settings_; }
  void configure(const LogSettings& settings) { settings_ = settings; }
  void write(const LogEvent& event, Fields fields = {});

 private:
  Console& console_;
  LogSettings settings_;
};

/// The event's sentence with its gaps filled; one without a field is filled with "-".
[[nodiscard]] std::string logSentence(const LogEvent& event, RelayLog::Fields fields);
/// {"time":"2026-03-14T09:26:53.250Z","level":"info","event":"agent.connected","pairing":"k3Jv0mQ2"}
[[nodiscard]] std::string logObject(const LogEvent& event, RelayLog::Fields fields, Date time);

}  // namespace tallyfox::server
