#include "detection/DialogButtonSemantics.hpp"

#include <algorithm>
#include <initializer_list>

#include "base/Text.hpp"

namespace tallyfox {

namespace {

DialogButtonSemantics::LabelSet extended(DialogButtonSemantics::LabelSet labels,
                                         std::initializer_list<const char*> more) {
  labels.insert(more.begin(), more.end());
  return labels;
}

DialogButtonSemantics::LabelSet allPromptLabels() {
  auto labels = extended(DialogButtonSemantics::cancelActionLabels(),
                         {"open system settings", "open settings", "quit", "don't save", "don’t save",
                          "install on quit", "don't install", "don’t install"});
  const auto& confirming = DialogButtonSemantics::confirmActionLabels();
  labels.insert(confirming.begin(), confirming.end());
  return labels;
}

}  // namespace

std::string DialogButtonSemantics::normalized(std::string_view label) {
  return normalizedText(label);
}

const DialogButtonSemantics::LabelSet& DialogButtonSemantics::safeDismissalLabels() {
  static const LabelSet labels = {"cancel", "deny", "don’t allow", "don't allow", "not now", "no"};
  return labels;
}

const DialogButtonSemantics::LabelSet& DialogButtonSemantics::cancelActionLabels() {
  static const LabelSet labels = extended(safeDismissalLabels(), {"later", "skip"});
  return labels;
}

const DialogButtonSemantics::LabelSet& DialogButtonSemantics::confirmActionLabels() {
  static const LabelSet labels = {
      "ok",       "allow",  "always allow", "continue", "yes",  "empty bin", "empty trash",
      "delete",   "erase",  "replace",      "discard",  "save", "install",   "install and relaunch",
      "relaunch", "restart"};
  return labels;
}

const DialogButtonSemantics::LabelSet& DialogButtonSemantics::promptButtonLabels() {
  static const LabelSet labels = allPromptLabels();
  return labels;
}

const DialogButtonSemantics::LabelSet& DialogButtonSemantics::recommendedLabels() {
  static const LabelSet labels = {"allow",         "always allow", "ok", "open system settings",
                                  "open settings", "continue",     "yes"};
  return labels;
}

std::optional<DialogButton> DialogButtonSemantics::recommendedButton(const std::vector<DialogButton>& buttons) {
  const auto found = std::ranges::find_if(
      buttons, [](const DialogButton& button) { return recommendedLabels().contains(normalized(button.label)); });
  if (found == buttons.end()) return std::nullopt;
  return *found;
}

}  // namespace tallyfox
