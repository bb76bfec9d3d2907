#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tallyfox {

/// Phrases that lead the owner to the system's settings.
inline constexpr std::array<std::string_view, 4> settingsPhrases = {"system settings", "privacy & security",
                                                                    "privacy and security", "accessibility settings"};

/// Title and message lines, each normalised, joined with a space; an empty title takes part. Pure.
[[nodiscard]] std::string combinedPromptText(const std::string& title, const std::vector<std::string>& messageLines);
[[nodiscard]] std::unordered_set<std::string> normalizedLabels(const std::vector<std::string>& labels);
[[nodiscard]] bool containsAny(std::string_view text, std::span<const std::string_view> phrases);
/// Whether one of the labels opens the system's settings.
[[nodiscard]] bool hasSettingsButton(const std::unordered_set<std::string>& normalizedLabels);

}  // namespace tallyfox
