#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/AXTypes.hpp"
#include "platform/linux/AtspiReading.hpp"
#include "platform/linux/DialogSearch.hpp"

namespace tallyfox::linux_os {

/// Which facts a reader will need of an element, by what the element is.
struct AtspiNeeds {
  FactSet always = 0;        ///< of every element
  bool title = false;        ///< of windows, buttons and texts
  bool description = false;  ///< of buttons without a title
  bool value = false;        ///< of texts
  bool frame = false;        ///< of windows, buttons and texts

  [[nodiscard]] static AtspiNeeds of(const std::vector<AXAttribute>& attributes);
};

/// Reads an element and its first `limit` descendants in the order of the bounded walk. Elements which the known part
/// of the tree already puts beyond the limit are not asked.
/// Dialogs are searched instead where that gives the same.
class WalkTask {
 public:
  WalkTask(AtspiReading& reading, AtspiReference root, int limit, AtspiNeeds needs);
  /// To be called before the first step when the root is a dialog for sure, though its role is not known yet.
  void expectDialog() { isDialogExpected_ = true; }
  void advance();
  [[nodiscard]] std::vector<AtspiReference> order();

 private:
  bool sendMissing();
  /// True while the search goes on.
  bool sendSearch();
  [[nodiscard]] FactSet neededOf(const AtspiReference& reference, bool isRoot);
  [[nodiscard]] bool canBeSearched();
  [[nodiscard]] bool isWordlessDialog();
  void walkDialogInside();

  AtspiReading& reading_;
  AtspiReference root_;
  std::size_t limit_;
  AtspiNeeds needs_;
  bool isDialogExpected_ = false;
  std::optional<DialogSearch> search_;
  std::unique_ptr<WalkTask> inner_;
  AtspiStep step_;
};

/// What to read of the windows of a program, beyond that they are there.
struct AtspiWindowNeeds {
  int descendantLimit = 0;
  AtspiNeeds ofElements;
};

/// Reads the windows of one process into a reading, step by step: each step sends what the answers of the step before
/// showed to be missing. Tasks of several programs proceed side by side, and so do the windows of each. Outlives its
/// calls.
class ApplicationTask {
 public:
  ApplicationTask(AtspiReading& reading, std::int32_t processIdentifier,
                  const std::optional<AtspiWindowNeeds>& windowNeeds = std::nullopt);
  void advance();

 private:
  bool sendMissing();
  bool sendMissingOf(const AtspiReference& child, FactSet facts);
  bool sendFocusPath(const AtspiReference& window);
  void walkInto(const AtspiReference& window);
  [[nodiscard]] Toolkit toolkitOf(const AtspiReference& reference) const;

  AtspiReading& reading_;
  std::optional<AtspiWindowNeeds> windowNeeds_;
  std::vector<AtspiReference> roots_;
  std::ptrdiff_t screenWindows_ = 0;
  bool showsOnlyDialogs_ = false;  ///< as the window manager was told
  bool hasFocus_ = false;
  std::unordered_map<AtspiReference, std::unique_ptr<WalkTask>> walks_;
  AtspiStep step_;
};

}  // namespace tallyfox::linux_os
