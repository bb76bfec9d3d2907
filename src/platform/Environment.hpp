#pragma once

#include <optional>
#include <string>

namespace tallyfox {

/// What surrounds the process: its variables and the owner's time zone. Any thread.
class Environment {
 public:
  virtual ~Environment() = default;
  /// Exact, case-sensitive look-up; an empty value is a value.
  [[nodiscard]] virtual std::optional<std::string> value(const std::string& name) = 0;
  /// The owner's time zone as it is now: a name of the time-zone database ("Europe/Berlin"), or the present offset
  /// ("GMT+05:30") where the system gives no such name. Read anew at each call: owners travel.
  [[nodiscard]] virtual std::string timeZoneIdentifier() = 0;
};

}  // namespace tallyfox
