#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "actions/ClickExecutor.hpp"

namespace tallyfox {

/// What the phone is told when a prompt cannot be approved from afar.
inline constexpr std::string_view directAccessRequiredText = "This prompt requires direct Mac access.";

/// The owner's log line about one decision: what became of it and how, nothing of what the dialog said. The identifier
/// comes from outside, so only its plain characters are shown, and not endlessly many.
[[nodiscard]] std::string decisionLine(std::string_view decisionID, std::string_view status,
                                       std::optional<ClickPath> path);

}  // namespace tallyfox
