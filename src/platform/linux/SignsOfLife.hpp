#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace tallyfox::linux_os {

/// Which programs were heard of lately, for threads that held some of them to be hung. From any thread.
class SignsOfLife {
 public:
  void note(std::int32_t processIdentifier) {
    const std::scoped_lock lock(mutex_);
    latest_.push_back(processIdentifier);
    if (latest_.size() > remembered) latest_.pop_front();
    count_.fetch_add(1, std::memory_order_release);
  }

  /// Those noted since `seen`, which is moved on; of very many, the last ones.
  [[nodiscard]] std::vector<std::int32_t> since(std::uint64_t& seen) const {
    if (count_.load(std::memory_order_acquire) == seen) return {};
    const std::scoped_lock lock(mutex_);
    const std::uint64_t count = count_.load(std::memory_order_relaxed);
    const std::size_t fresh = static_cast<std::size_t>(std::min<std::uint64_t>(count - seen, latest_.size()));
    seen = count;
    return {latest_.end() - static_cast<std::ptrdiff_t>(fresh), latest_.end()};
  }

 private:
  /// Between two questions of a thread a desktop has some dozen events; who is missed is retried after a while anyway.
  static constexpr std::size_t remembered = 256;
  mutable std::mutex mutex_;
  std::deque<std::int32_t> latest_;
  std::atomic<std::uint64_t> count_{0};
};

}  // namespace tallyfox::linux_os
