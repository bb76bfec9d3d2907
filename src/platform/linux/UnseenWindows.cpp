#include "platform/linux/UnseenWindows.hpp"

#include <fmt/format.h>

#include <utility>

namespace tallyfox::linux_os {
namespace {

/// Slow toolkits register within half a second of their first window; the last look after an event comes after two.
constexpr std::chrono::milliseconds patience{1500};

std::string report(const XWindow& window) {
  return fmt::format("The window \"{}\" of {} (process {}) is not open to accessibility.", window.title,
                     window.className.empty() ? "an unknown program" : window.className,
                     window.processIdentifier.value_or(0));
}

}  // namespace

void UnseenWindows::note(const std::vector<XWindow>& unseen, Clock::time_point now) {
  const std::scoped_lock lock(mutex_);
  std::map<XWindowID, Clock::time_point> since;
  std::set<XWindowID> reported;
  for (const XWindow& window : unseen) {
    const auto known = since_.find(window.id);
    const auto first = since.emplace(window.id, known == since_.end() ? now : known->second).first->second;
    const bool wasReported = reported_.contains(window.id);
    if (!wasReported && now - first < patience) continue;
    if (!wasReported) console_.printLine(report(window));
    reported.insert(window.id);
  }
  since_ = std::move(since);
  reported_ = std::move(reported);
}

}  // namespace tallyfox::linux_os
