#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string_view>

#include "base/Json.hpp"
#include "model/NotificationPauseOption.hpp"

namespace tallyfox {

/// What the owner asks a running agent to do.
enum class ControlCommand { status, show, pause, resume, quit };

/// The words for the commands, on the command line and between it and the agent.
[[nodiscard]] std::optional<ControlCommand> controlCommandNamed(std::string_view word);

/// The words for the lengths of a pause: 2h, 4h, tomorrow, forever.
[[nodiscard]] std::optional<NotificationPauseOption> pauseLengthNamed(std::string_view word);

/// One command for the running agent: {"version":1,"command":"pause","length":"2h"}. "length" belongs to a pause alone.
struct ControlRequest {
  static constexpr std::int64_t version = 1;

  ControlCommand command = ControlCommand::status;
  NotificationPauseOption pauseLength = NotificationPauseOption::twoHours;

  bool operator==(const ControlRequest&) const = default;
  [[nodiscard]] Json json() const;
  /// Another version is told apart before anything else is read of it. Members that a request does not list are
  /// ignored.
  [[nodiscard]] static std::expected<ControlRequest, DecodingError> decoded(const Json& value);
};

}  // namespace tallyfox
