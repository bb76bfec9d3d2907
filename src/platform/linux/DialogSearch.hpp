#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiReading.hpp"

namespace tallyfox::linux_os {

/// Learns what a dialog shows by a few searches inside its program, where a walk would ask each object for its role,
/// its states and its children. Only what the walk would give comes of it: when an object found cannot be put into its
/// place in the tree, or there are more than the walk would reach, nothing is learnt but roles, and the walk has to be
/// made. Lists are never searched, since they may make up thousands of objects to be looked at: a dialog that has one
/// is walked. Outlives its calls.
class DialogSearch {
 public:
  /// `limit`: how many objects below `dialog` a walk would reach. Its program can be searched.
  DialogSearch(AtspiReading& reading, AtspiReference dialog, std::size_t limit);

  /// Sends what it needs next. False when it is over.
  bool sendMissing(AtspiStep& step);
  /// Over without having learnt the structure.
  [[nodiscard]] bool hasFailed() const { return stage_ == Stage::over && !isSettled_; }
  /// What is shown, as far as known, in the order of the tree.
  [[nodiscard]] const std::vector<AtspiReference>& shown() const { return shape_.shown; }

 private:
  enum class Stage { begin, recognize, search, place, settle, over };
  using Found = std::optional<std::vector<AtspiReference>>;

  void begin(AtspiStep& step);
  void searchForLists(AtspiStep& step);
  void searchForShown(AtspiStep& step);
  void search(Found& found, AtspiSearch what, AtspiStep& step);
  [[nodiscard]] bool sort();
  void askForPlaces(AtspiStep& step);
  [[nodiscard]] bool place();
  void settle(const DialogShape& shape);
  bool end(bool isSettled);

  AtspiReading& reading_;
  AtspiReference dialog_;
  std::size_t limit_;
  Stage stage_ = Stage::begin;
  bool isSettled_ = false;
  Found lists_;
  Found all_;
  Found buttons_;
  Found labels_;
  Found groups_;
  std::vector<AtspiReference> others_;  ///< of roles that were not searched for
  DialogShape shape_;
};

}  // namespace tallyfox::linux_os
