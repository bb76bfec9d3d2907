#include "platform/macos/MessagingTimeouts.hpp"

#include <algorithm>
#include <cmath>

namespace tallyfox::mac_os {
namespace {

/// To the system, zero means its own default of several seconds.
constexpr Seconds shortest{0.001};
constexpr Seconds longest{60};

}  // namespace

void MessagingTimeouts::set(std::int32_t processIdentifier, Seconds timeout) {
  const Seconds bounded = std::isnan(timeout.count()) ? longest : std::clamp(timeout, shortest, longest);
  const std::pair key(std::this_thread::get_id(), processIdentifier);
  const std::scoped_lock lock(mutex_);
  if (bounded == standard) {
    others_.erase(key);
  } else {
    others_.insert_or_assign(key, bounded);
  }
}

Seconds MessagingTimeouts::of(std::int32_t processIdentifier) const {
  const std::scoped_lock lock(mutex_);
  const auto found = others_.find({std::this_thread::get_id(), processIdentifier});
  return found == others_.end() ? standard : found->second;
}

}  // namespace tallyfox::mac_os
