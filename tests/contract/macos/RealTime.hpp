#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "platform/macos/MacClock.hpp"

namespace tallyfox::contract {

/// What the contracts ask of a backend on the system's own time.
class RealTime {
 public:
  bool waitUntil(const std::function<bool()>& condition) {
    constexpr Seconds atMost{20};
    const Seconds start = clock_.continuous();
    while (!condition()) {
      if (clock_.continuous() - start > atMost) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
  }
  void pass(Seconds duration) { clock_.sleep(duration); }
  void onAnotherThread(const std::function<void()>& work) { std::thread(work).join(); }
  Clock& clock() { return clock_; }

 private:
  mac_os::MacClock clock_;
};

}  // namespace tallyfox::contract
