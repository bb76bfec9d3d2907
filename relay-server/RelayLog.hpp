#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "base/Console.hpp"

namespace tallyfox::server {

/// An identifier as it may stand in a log: its first 12 characters.
[[nodiscard]] inline std::string_view shortened(std::string_view id) {
  return id.substr(0, 12);
}

/// One line an event. What is logged is composed here from shortened identifiers and numbers; tokens, names and frames
/// are never passed in.
class RelayLog {
 public:
  explicit RelayLog(Console& console) : console_(console) {}

  template <typename... Values>
  void line(fmt::format_string<Values...> pattern, Values&&... values) {
    console_.printLine(fmt::format(pattern, std::forward<Values>(values)...));
  }

 private:
  Console& console_;
};

}  // namespace tallyfox::server
