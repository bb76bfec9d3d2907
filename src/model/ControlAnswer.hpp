#pragma once

#include <expected>
#include <optional>
#include <string>

#include "base/Json.hpp"

namespace tallyfox {

/// What the running agent says to a command: {"version":1,"ok":true,"text":"Alerts: Active."}. The answers of every
/// version have "ok" and "text", so that a newer or older command line can show them.
struct ControlAnswer {
  bool ok = false;
  std::string text;            ///< for a person, without the last line break: what was done, or why not
  std::optional<Json> status;  ///< the state of the agent for programs, where that was asked for

  bool operator==(const ControlAnswer&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ControlAnswer, DecodingError> decoded(const Json& value);
};

}  // namespace tallyfox
