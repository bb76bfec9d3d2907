#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiBus.hpp"

namespace tallyfox::linux_os {

/// Which process is behind which connection of the accessibility bus. Asks only the registry and the bus itself, so no
/// application can delay it.
class RegistryDirectory {
 public:
  /// The roots of the applications of one process, normally one. Reads the registry anew when the process is unknown.
  [[nodiscard]] const std::vector<AtspiReference>& rootsOf(std::int32_t processIdentifier, AtspiBus& bus);
  /// The same of what was read already.
  [[nodiscard]] const std::vector<AtspiReference>& knownRootsOf(std::int32_t processIdentifier) const;
  /// The process of a connection; 0 when it is gone.
  [[nodiscard]] std::int32_t processOf(const std::string& busName, AtspiBus& bus);
  void refresh(AtspiBus& bus);
  /// While frozen, the last refresh is held to be complete.
  void setFrozen(bool frozen) { isFrozen_ = frozen; }

 private:
  void learnProcesses(const std::vector<std::string>& busNames, AtspiBus& bus);

  std::unordered_map<std::int32_t, std::vector<AtspiReference>> rootsByProcess_;
  /// Unique names are never given twice, so what is known of one stays true.
  std::unordered_map<std::string, std::int32_t> processes_;
  bool isFrozen_ = false;
};

}  // namespace tallyfox::linux_os
