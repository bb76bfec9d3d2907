#include "detection/PromptText.hpp"

#include <algorithm>

#include "base/Text.hpp"
#include "detection/DialogButtonSemantics.hpp"

namespace tallyfox {

std::string combinedPromptText(const std::string& title, const std::vector<std::string>& messageLines) {
  std::vector<std::string> parts;
  parts.reserve(messageLines.size() + 1);
  parts.push_back(DialogButtonSemantics::normalized(title));
  for (const std::string& line : messageLines)
    parts.push_back(DialogButtonSemantics::normalized(line));
  return joined(parts, " ");
}

std::unordered_set<std::string> normalizedLabels(const std::vector<std::string>& labels) {
  std::unordered_set<std::string> set;
  for (const std::string& label : labels)
    set.insert(DialogButtonSemantics::normalized(label));
  return set;
}

bool containsAny(std::string_view text, std::span<const std::string_view> phrases) {
  return std::ranges::any_of(phrases, [text](std::string_view phrase) { return text.contains(phrase); });
}

bool hasSettingsButton(const std::unordered_set<std::string>& normalizedLabels) {
  return normalizedLabels.contains("open system settings") || normalizedLabels.contains("open settings");
}

}  // namespace tallyfox
