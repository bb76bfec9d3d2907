#pragma once

#include <cstdint>
#include <vector>

#include "platform/AXTypes.hpp"
#include "platform/linux/AtspiReading.hpp"

namespace tallyfox::linux_os {

/// Reads the windows of one process into a reading, step by step: each step sends what the answers of the step before
/// showed to be missing. Tasks of several programs proceed side by side. Outlives its calls.
class ApplicationTask {
 public:
  ApplicationTask(AtspiReading& reading, std::int32_t processIdentifier);
  void advance();

 private:
  bool sendMissing();

  AtspiReading& reading_;
  std::vector<AtspiReference> roots_;
  AtspiStep step_;
};

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
class WalkTask {
 public:
  WalkTask(AtspiReading& reading, AtspiReference root, int limit, AtspiNeeds needs);
  void advance();
  [[nodiscard]] std::vector<AtspiReference> order();

 private:
  bool sendMissing();
  [[nodiscard]] FactSet neededOf(const AtspiReference& reference, bool isRoot);

  AtspiReading& reading_;
  AtspiReference root_;
  std::size_t limit_;
  AtspiNeeds needs_;
  AtspiStep step_;
};

}  // namespace tallyfox::linux_os
