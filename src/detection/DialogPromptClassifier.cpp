#include "detection/DialogPromptClassifier.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "base/Text.hpp"
#include "detection/DialogButtonSemantics.hpp"
#include "detection/PromptText.hpp"
#include "platform/AXTypes.hpp"

namespace tallyfox {

namespace {

/// Both apostrophe forms are listed: normalising does not fold them.
constexpr std::array<std::string_view, 26> promptPhrases = {"would like to access",
                                                            "wants access",
                                                            "permission",
                                                            "grant access",
                                                            "access files",
                                                            "access your",
                                                            "password",
                                                            "keychain",
                                                            "are you sure",
                                                            "you can't undo",
                                                            "you can’t undo",
                                                            "permanently",
                                                            "erase",
                                                            "delete",
                                                            "empty bin",
                                                            "empty trash",
                                                            "replace",
                                                            "discard",
                                                            "won't run",
                                                            "won’t run",
                                                            "ready to install",
                                                            "ready to use",
                                                            "install and relaunch",
                                                            "downloaded and is ready",
                                                            "save changes",
                                                            "unsaved"};

/// A dialog offers one to six buttons.
constexpr std::size_t fewButtonsBelow = 7;
constexpr std::size_t tooManyButtons = 13;
constexpr std::size_t mostShortTextLines = 10;

using LabelSet = std::unordered_set<std::string>;

bool intersects(const LabelSet& labels, const LabelSet& table) {
  return std::ranges::any_of(labels, [&table](const std::string& label) { return table.contains(label); });
}

/// What is derived from the evidence once and then weighed.
struct PromptSigns {
  explicit PromptSigns(const DialogPromptEvidence& evidence);
  [[nodiscard]] int score(bool isKnownPromptService) const;

  std::size_t buttonCount;
  std::size_t textLineCount;
  std::size_t promptLabelCount = 0;
  std::size_t phraseCount = 0;
  bool isDialogLike = false;
  bool opensSettings = false;
  bool hasPrimaryAndCancel = false;
  bool hasSingleHighSignal = false;
  bool hasFewButtons = false;
  bool hasShortText = false;
};

PromptSigns::PromptSigns(const DialogPromptEvidence& evidence)
    : buttonCount(evidence.buttonLabels.size()),
      textLineCount(evidence.messageLines.size() + (evidence.title.empty() ? 0 : 1)) {
  const std::string text = combinedPromptText(evidence.title, evidence.messageLines);
  const LabelSet labels = normalizedLabels(evidence.buttonLabels);
  const LabelSet& highSignal = DialogPromptClassifier::highSignalSingleActionLabels();
  const auto countIn = [](const auto& range, const auto& predicate) {
    return static_cast<std::size_t>(std::ranges::count_if(range, predicate));
  };
  phraseCount = countIn(promptPhrases, [&text](std::string_view phrase) { return text.contains(phrase); });
  promptLabelCount = countIn(
      labels, [](const std::string& label) { return DialogButtonSemantics::promptButtonLabels().contains(label); });
  isDialogLike = evidence.isModal || evidence.subrole == ax_subrole::dialog || evidence.role == ax_role::sheet;
  opensSettings = hasSettingsButton(labels) && containsAny(text, settingsPhrases);
  const bool hasPrimary =
      intersects(labels, DialogButtonSemantics::confirmActionLabels()) || intersects(labels, highSignal);
  hasPrimaryAndCancel = hasPrimary && intersects(labels, DialogButtonSemantics::cancelActionLabels());
  hasSingleHighSignal = labels.size() == 1 && highSignal.contains(*labels.begin());
  hasFewButtons = buttonCount >= 1 && buttonCount < fewButtonsBelow;
  hasShortText = textLineCount >= 1 && textLineCount <= mostShortTextLines;
}

int PromptSigns::score(bool isKnownPromptService) const {
  const auto weight = [](bool holds, int points) { return holds ? points : 0; };
  const auto capped = [](std::size_t count, std::size_t most) { return static_cast<int>(std::min(2 * count, most)); };
  return weight(isDialogLike, 4) + weight(hasFewButtons, 2) + weight(hasShortText, 2) + weight(hasPrimaryAndCancel, 4) +
         weight(hasSingleHighSignal, 3) + weight(opensSettings, 4) + weight(isKnownPromptService, 4) +
         capped(promptLabelCount, 6) + capped(phraseCount, 8);
}

bool isSettingsBundle(const std::optional<std::string>& bundleIdentifier) {
  const std::string identifier = lowercased(bundleIdentifier.value_or(""));
  return identifier == "com.apple.systempreferences" || identifier == "com.apple.systemsettings";
}

bool isSettingsTitle(const std::string& title) {
  const std::string text = DialogButtonSemantics::normalized(title);
  return text == "settings" || text == "preferences" || text.ends_with(" settings") || text.ends_with(" preferences");
}

/// What rules a window out whatever it says.
std::optional<std::string> exclusion(const DialogPromptEvidence& evidence, const PromptSigns& signs) {
  if (signs.buttonCount == 0) return "No actionable buttons exposed through Accessibility.";
  if (signs.buttonCount >= tooManyButtons) return "Too many buttons; likely a normal application window.";
  if (signs.isDialogLike) return std::nullopt;
  if (isSettingsBundle(evidence.bundleIdentifier)) return "Ordinary System Settings windows are not approval prompts.";
  if (isSettingsTitle(evidence.title)) return "Ordinary settings and preferences windows are not approval prompts.";
  if (evidence.hasNavigationChrome) return "Window has navigation or settings chrome and is not modal.";
  return std::nullopt;
}

bool isActionable(const DialogPromptEvidence& evidence, const PromptSigns& signs) {
  if (signs.isDialogLike) {
    if (evidence.isKnownPromptService) return signs.hasFewButtons;
    if (!signs.hasFewButtons) return false;
    if (signs.phraseCount > 0) return true;
  } else if (!signs.hasFewButtons || !signs.hasShortText || signs.phraseCount == 0) {
    return false;
  }
  return signs.hasPrimaryAndCancel || signs.hasSingleHighSignal || signs.opensSettings;
}

}  // namespace

DialogPromptClassification DialogPromptClassifier::classify(const DialogPromptEvidence& evidence) {
  const PromptSigns signs(evidence);
  const int score = signs.score(evidence.isKnownPromptService);
  if (auto reason = exclusion(evidence, signs)) return {false, score, std::move(reason)};
  if (isActionable(evidence, signs)) return {true, score, std::nullopt};
  return {false, score,
          fmt::format("Not actionable enough: role={}, subrole={}, buttons={}, textLines={}.", evidence.role,
                      evidence.subrole, signs.buttonCount, signs.textLineCount)};
}

const std::unordered_set<std::string>& DialogPromptClassifier::highSignalSingleActionLabels() {
  static const LabelSet labels = [] {
    LabelSet all = DialogButtonSemantics::confirmActionLabels();
    all.insert({"open system settings", "open settings", "quit", "don't save", "don’t save"});
    return all;
  }();
  return labels;
}

}  // namespace tallyfox
