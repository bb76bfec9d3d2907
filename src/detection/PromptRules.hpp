#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/DialogButton.hpp"

namespace tallyfox {

/// True for the owners of system prompts, by parts of their bundle identifier or name. Pure.
[[nodiscard]] bool isKnownPromptService(const std::string& appName, const std::optional<std::string>& bundleIdentifier);

/// Why a prompt cannot be approved from afar, as a sentence for the owner; absent when it can. Pure.
[[nodiscard]] std::optional<std::string> directAccessRequiredReason(const std::string& title,
                                                                    const std::vector<std::string>& messageLines,
                                                                    const std::vector<DialogButton>& buttons);

}  // namespace tallyfox
