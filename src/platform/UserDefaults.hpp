#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Date.hpp"

namespace tallyfox {

using DefaultsValue = std::variant<bool, double, std::string, std::vector<std::string>, Date, Bytes>;

/// Small persistent preferences. Any thread; a set value is what every later read gives, also after a restart.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  [[nodiscard]] virtual std::optional<DefaultsValue> object(const std::string& key) = 0;
  /// Cannot fail from the caller's point of view; a backend that cannot write says so once on its console.
  virtual void setObject(const std::string& key, const DefaultsValue& value) = 0;
  virtual void removeObject(const std::string& key) = 0;
};

}  // namespace tallyfox
