#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "base/Console.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// Reports windows that the X server shows but their program does not open up to accessibility, each once: toolkits
/// that know nothing of it or failed to register. What such windows ask, nobody is told. From any thread.
class UnseenWindows {
 public:
  using Clock = std::chrono::steady_clock;

  explicit UnseenWindows(Console& console) : console_(console) {}

  /// `unseen`: all such windows of one moment. One is reported when it is still there after a while, since programs
  /// show their windows first.
  void note(const std::vector<XWindow>& unseen, Clock::time_point now);

 private:
  Console& console_;
  std::mutex mutex_;
  std::map<XWindowID, Clock::time_point> since_;
  std::set<XWindowID> reported_;
};

}  // namespace tallyfox::linux_os
