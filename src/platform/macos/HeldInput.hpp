#pragma once

#include <cstdint>
#include <map>

namespace tallyfox::mac_os {

/// Who got the presses that are not let go of yet, so that each release follows its press: without it a program would
/// stay in the middle of a click, or the system with a button that nobody holds. Main thread.
class HeldInput {
 public:
  static constexpr int mouseButton = -1;
  /// Stands for a process: whoever gets it from the hardware.
  static constexpr std::int32_t anyProcess = 0;

  /// `control` is a key's code, or the mouse's button.
  void press(int control, std::int32_t receiver) { receivers_.insert_or_assign(control, receiver); }
  /// False, and nothing changes, when this process did not get the press.
  [[nodiscard]] bool release(int control, std::int32_t receiver) {
    const auto found = receivers_.find(control);
    if (found == receivers_.end() || found->second != receiver) return false;
    receivers_.erase(found);
    return true;
  }

 private:
  std::map<int, std::int32_t> receivers_;
};

}  // namespace tallyfox::mac_os
