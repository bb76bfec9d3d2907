#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace tallyfox::server {

enum class LogLevel : std::uint8_t { debug, info, warning, error };

/// What a log line may tell; the names are those of the JSON form and of the gaps in a sentence.
enum class LogKey : std::uint8_t {
  pairing,
  device,
  network,
  address,
  code,
  status,
  count,
  task,
  setting,
  node,
  reason
};
inline constexpr std::array<std::string_view, 11> logKeyNames{
    "pairing", "device", "network", "address", "code", "status", "count", "task", "setting", "node", "reason"};

/// One kind of event: its name in the JSON form, and the sentence of the text form with a gap such as {pairing} for
/// each field. Only constants of the program can be events.
struct LogEvent {
  LogLevel level;
  std::string_view name;
  std::string_view sentence;

  /// Does not compile with a gap that no field fills, or a name of other characters than a-z, '.' and '-'.
  // NOLINTNEXTLINE(google-explicit-constructor): events are written as lists of their three parts
  consteval LogEvent(LogLevel itsLevel, const char* itsName, const char* itsSentence)
      : level(itsLevel), name(itsName), sentence(itsSentence) {
    for (const char c : name)
      if ((c < 'a' || c > 'z') && c != '.' && c != '-') throw "a bad name";
    for (std::size_t at = sentence.find('{'); at != std::string_view::npos; at = sentence.find('{', at + 1)) {
      const std::string_view gap = sentence.substr(at + 1, sentence.find('}', at) - at - 1);
      if (std::ranges::find(logKeyNames, gap) == logKeyNames.end()) throw "an unknown gap";
    }
  }
};

}  // namespace tallyfox::server
