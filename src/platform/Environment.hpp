#pragma once

#include <optional>
#include <string>

namespace tallyfox {

/// The process environment. Any thread.
class Environment {
 public:
  virtual ~Environment() = default;
  /// Exact, case-sensitive look-up; an empty value is a value.
  [[nodiscard]] virtual std::optional<std::string> value(const std::string& name) = 0;
};

}  // namespace tallyfox
