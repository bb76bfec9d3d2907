#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "model/DialogButton.hpp"

namespace tallyfox {

/// The vocabulary of button labels. All entries are normalised; labels with an apostrophe are listed with U+0027 and
/// with U+2019. Sets are built once, on first use; any thread.
class DialogButtonSemantics {
 public:
  DialogButtonSemantics() = delete;
  using LabelSet = std::unordered_set<std::string>;

  [[nodiscard]] static std::string normalized(std::string_view label);
  [[nodiscard]] static const LabelSet& safeDismissalLabels();
  [[nodiscard]] static const LabelSet& cancelActionLabels();
  [[nodiscard]] static const LabelSet& confirmActionLabels();
  [[nodiscard]] static const LabelSet& promptButtonLabels();
  [[nodiscard]] static const LabelSet& recommendedLabels();
  /// The first button, in the given order, whose normalised label is recommended.
  [[nodiscard]] static std::optional<DialogButton> recommendedButton(const std::vector<DialogButton>& buttons);
};

}  // namespace tallyfox
