#pragma once

#include <cstdint>
#include <map>
#include <optional>

namespace tallyfox::mac_os {

/// Who got the presses that are not let go of yet, so that each release follows its press: without it a program would
/// stay in the middle of a click, or the system with a button that nobody holds. Main thread.
class HeldInput {
 public:
  static constexpr int mouseButton = -1;

  struct Receiver {
    std::int32_t processIdentifier = 0;  ///< 0: whoever gets it from the hardware
    long window = 0;                     ///< that the mouse pressed in, when it is one process that gets it

    bool operator==(const Receiver&) const = default;
  };

  /// `control` is a key's code, or the mouse's button.
  void press(int control, const Receiver& receiver) { receivers_.insert_or_assign(control, receiver); }
  /// Absent, and nothing changes, when this process (0: as for receivers) did not get the press.
  [[nodiscard]] std::optional<Receiver> release(int control, std::int32_t processIdentifier) {
    const auto found = receivers_.find(control);
    if (found == receivers_.end() || found->second.processIdentifier != processIdentifier) return std::nullopt;
    const Receiver receiver = found->second;
    receivers_.erase(found);
    return receiver;
  }

 private:
  std::map<int, Receiver> receivers_;
};

}  // namespace tallyfox::mac_os
