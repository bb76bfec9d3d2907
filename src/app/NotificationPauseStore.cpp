#include "app/NotificationPauseStore.hpp"

#include <optional>
#include <variant>

namespace tallyfox {
namespace {

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

void NotificationPauseStore::pause(Seconds interval, Date from) {
  defaults_.setObject(untilKey, from + std::chrono::duration_cast<Date::duration>(interval));
  defaults_.setObject(indefinitelyKey, false);
}

void NotificationPauseStore::pauseIndefinitely() {
  defaults_.removeObject(untilKey);
  defaults_.setObject(indefinitelyKey, true);
}

void NotificationPauseStore::resume() {
  defaults_.removeObject(untilKey);
  defaults_.setObject(indefinitelyKey, false);
}

void NotificationPauseStore::pruneExpiredPause(Date now) {
  if (stored<bool>(defaults_, indefinitelyKey).value_or(false)) return;
  const auto until = stored<Date>(defaults_, untilKey);
  if (until && *until <= now) resume();
}

}  // namespace tallyfox
