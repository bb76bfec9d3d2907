#pragma once

#include <memory>

namespace tallyfox::mac_os {

/// Keeps the system, as long as it lives, from slowing down the timers of an application that shows no window, and
/// from ending it without a word. The machine may sleep all the same. Main thread.
class NapPrevention {
 public:
  NapPrevention();
  ~NapPrevention();
  NapPrevention(const NapPrevention&) = delete;
  NapPrevention& operator=(const NapPrevention&) = delete;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
