#include "app/NotificationPauseStore.hpp"

#include <chrono>
#include <optional>
#include <variant>

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

constexpr int morningHour = 9;
constexpr const char* untilKey = "tallyfox.notifications-paused-until";
constexpr const char* indefinitelyKey = "tallyfox.notifications-paused-indefinitely";

template <typename Value>
std::optional<Value> stored(UserDefaults& defaults, const char* key) {
  const auto value = defaults.object(key);
  const auto* typed = value ? std::get_if<Value>(&*value) : nullptr;
  return typed == nullptr ? std::nullopt : std::optional(*typed);
}

}  // namespace

NotificationPauseSnapshot NotificationPauseStore::snapshot() {
  pruneExpiredPause(clock_.now());
  NotificationPauseSnapshot result;
  result.pausesIndefinitely = stored<bool>(defaults_, indefinitelyKey).value_or(false);
  if (!result.pausesIndefinitely) result.pausedUntil = stored<Date>(defaults_, untilKey);
  return result;
}

void NotificationPauseStore::pause(NotificationPauseOption option, const Calendar& calendar) {
  switch (option) {
    case NotificationPauseOption::twoHours:
      return pause(2h, clock_.now());
    case NotificationPauseOption::fourHours:
      return pause(4h, clock_.now());
    case NotificationPauseOption::untilTomorrow:
      return pauseUntilTomorrow(clock_.now(), calendar);
    case NotificationPauseOption::indefinitely:
      return pauseIndefinitely();
  }
}

void NotificationPauseStore::pause(Seconds interval, Date from) {
  pauseUntil(from + std::chrono::duration_cast<Date::duration>(interval));
}

void NotificationPauseStore::pauseUntilTomorrow(Date from, const Calendar& calendar) {
  const Date tomorrow = calendar.addingDays(from, 1).value_or(from + 24h);
  const Date start = calendar.startOfDay(tomorrow);
  pauseUntil(calendar.settingHour(morningHour, start).value_or(start + std::chrono::hours(morningHour)));
}

void NotificationPauseStore::pauseIndefinitely() {
  defaults_.removeObject(untilKey);
  defaults_.setObject(indefinitelyKey, true);
}

void NotificationPauseStore::resume() {
  defaults_.removeObject(untilKey);
  defaults_.setObject(indefinitelyKey, false);
}

void NotificationPauseStore::pauseUntil(Date end) {
  defaults_.setObject(untilKey, end);
  defaults_.setObject(indefinitelyKey, false);
}

void NotificationPauseStore::pruneExpiredPause(Date now) {
  if (stored<bool>(defaults_, indefinitelyKey).value_or(false)) return;
  const auto until = stored<Date>(defaults_, untilKey);
  if (until && *until <= now) resume();
}

}  // namespace tallyfox
