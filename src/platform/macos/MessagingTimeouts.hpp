#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "base/Date.hpp"

namespace tallyfox::mac_os {

/// How long each thread waits for each application. Any thread.
class MessagingTimeouts {
 public:
  static constexpr Seconds standard{0.2};

  /// The calling thread's, for the application with this process id; 0: for the system-wide element. What no
  /// application could keep to, or would be no bound, is put within bounds.
  void set(std::int32_t processIdentifier, Seconds timeout);
  [[nodiscard]] Seconds of(std::int32_t processIdentifier) const;

 private:
  mutable std::mutex mutex_;
  std::map<std::pair<std::thread::id, std::int32_t>, Seconds> others_;  ///< those that are not the standard
};

}  // namespace tallyfox::mac_os
