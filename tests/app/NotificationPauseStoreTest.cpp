// The alert pause: its two keys, its end, the owner's four choices, tomorrow morning in every time zone, and what
// damaged values count as.

#include "app/NotificationPauseStore.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <variant>

#include "base/ZonedCalendar.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

constexpr const char* untilKey = "tallyfox.notifications-paused-until";
constexpr const char* indefinitelyKey = "tallyfox.notifications-paused-indefinitely";

class NotificationPauseStoreTest : public testing::Test {
 protected:
  Date now() { return time.clock().now(); }
  /// When a pause until tomorrow ends that begins at a moment in a time zone.
  std::string endOfPauseUntilTomorrow(const std::string& from, const Calendar& calendar) {
    store.pauseUntilTomorrow(parsedISO8601(from).value(), calendar);
    EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
    return formattedISO8601(std::get<Date>(defaults.object(untilKey).value()));
  }
  memory::VirtualTime time;
  memory::MemoryUserDefaults defaults;
  NotificationPauseStore store{defaults, time.clock()};
};

TEST_F(NotificationPauseStoreTest, isNotPausedAtFirst) {
  EXPECT_EQ(store.snapshot(), NotificationPauseSnapshot{});
  EXPECT_FALSE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, endsATwoHoursPauseOnTime) {
  time.setWallClock(std::chrono::sys_days{std::chrono::March / 14 / 2026} + 13h + 10min);
  const Date end = now() + 2h;
  store.pause(Seconds(7200), now());
  EXPECT_EQ(defaults.object(untilKey), DefaultsValue(end));
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
  time.advance(Seconds(7199.5));
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{end, false}));
  time.advance(0.5s);
  EXPECT_FALSE(store.snapshot().isPaused());
  EXPECT_EQ(defaults.object(untilKey), std::nullopt);
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
}

TEST_F(NotificationPauseStoreTest, pausesWithoutEnd) {
  store.pause(Seconds(60), now());
  store.pauseIndefinitely();
  EXPECT_EQ(defaults.object(untilKey), std::nullopt);
  time.advance(24h);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{std::nullopt, true}));
}

TEST_F(NotificationPauseStoreTest, turnsAnEndlessPauseIntoATimedOne) {
  store.pauseIndefinitely();
  store.pause(Seconds(7200), now());
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now() + 2h, false}));
}

TEST_F(NotificationPauseStoreTest, resumesFromBoth) {
  store.pause(Seconds(60), now());
  store.resume();
  EXPECT_FALSE(store.snapshot().isPaused());
  store.pauseIndefinitely();
  store.resume();
  EXPECT_FALSE(store.snapshot().isPaused());
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
}

TEST_F(NotificationPauseStoreTest, treatsAValueOfAnotherTypeAsAbsent) {
  defaults.setObject(untilKey, std::string("tomorrow"));
  defaults.setObject(indefinitelyKey, std::string("yes"));
  EXPECT_FALSE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, survivesARestart) {
  store.pause(Seconds(60), now());
  NotificationPauseStore restarted(defaults, time.clock());
  EXPECT_TRUE(restarted.snapshot().isPaused());
}

/// Computes nothing but where a day begins: at three in the morning.
class FailingCalendar : public Calendar {
 public:
  std::optional<Date> addingDays(Date, int) const override { return std::nullopt; }
  Date startOfDay(Date date) const override { return Date(std::chrono::floor<std::chrono::days>(date)) + 3h; }
  std::optional<Date> settingHour(int, Date) const override { return std::nullopt; }
};

TEST_F(NotificationPauseStoreTest, offersFourChoices) {
  time.setWallClock(std::chrono::sys_days{std::chrono::March / 14 / 2026} + 13h + 10min);
  const ZonedCalendar berlin("Europe/Berlin");
  store.pause(NotificationPauseOption::twoHours, berlin);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now() + 2h, false}));
  store.pause(NotificationPauseOption::fourHours, berlin);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now() + 4h, false}));
  store.pause(NotificationPauseOption::untilTomorrow, berlin);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{parsedISO8601("2026-03-15T08:00:00Z"), false}));
  store.pause(NotificationPauseOption::indefinitely, berlin);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{std::nullopt, true}));
  EXPECT_EQ(defaults.object(untilKey), std::nullopt);
}

TEST_F(NotificationPauseStoreTest, yieldsATimedPauseAloneWhenTwoHoursFollowAnEndlessOne) {
  const ZonedCalendar utc("Etc/UTC");
  store.pause(NotificationPauseOption::indefinitely, utc);
  store.pause(NotificationPauseOption::twoHours, utc);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now() + 2h, false}));
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
  time.advance(2h);
  EXPECT_FALSE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, endsAPauseBegunJustBeforeMidnightNineHoursAndAMinuteLater) {
  EXPECT_EQ(endOfPauseUntilTomorrow("2026-03-14T23:59:00Z", ZonedCalendar("Etc/UTC")), "2026-03-15T09:00:00Z");
}

TEST_F(NotificationPauseStoreTest, endsAPauseBegunJustAfterMidnightOnTheFollowingDay) {
  EXPECT_EQ(endOfPauseUntilTomorrow("2026-03-14T00:30:00Z", ZonedCalendar("Etc/UTC")), "2026-03-15T09:00:00Z");
}

TEST_F(NotificationPauseStoreTest, endsAtNineOnTheOwnersClockWhateverTheClocksDo) {
  const struct {
    std::string zone;
    std::string from;
    std::string expected;
  } cases[] = {
      {"Europe/Berlin", "2026-06-10T12:00:00Z", "2026-06-11T07:00:00Z"},
      {"Europe/Berlin", "2026-03-28T12:00:00Z", "2026-03-29T07:00:00Z"},  // in the night clocks go forward
      {"Europe/Berlin", "2026-03-29T12:00:00Z", "2026-03-30T07:00:00Z"},
      {"Europe/Berlin", "2026-10-24T12:00:00Z", "2026-10-25T08:00:00Z"},  // in the night they go back
      {"Europe/Berlin", "2026-10-25T00:30:00Z", "2026-10-26T08:00:00Z"},  // asked in the hour that comes twice
      {"Europe/Berlin", "2026-10-25T01:30:00Z", "2026-10-26T08:00:00Z"},
      {"America/New_York", "2026-03-07T17:00:00Z", "2026-03-08T13:00:00Z"},
      {"America/New_York", "2026-10-31T17:00:00Z", "2026-11-01T14:00:00Z"},
      {"America/New_York", "2026-03-14T03:00:00Z", "2026-03-14T13:00:00Z"},   // still the 13th there
      {"America/Sao_Paulo", "2018-11-03T15:00:00Z", "2018-11-04T11:00:00Z"},  // tomorrow has no midnight
      {"America/Sao_Paulo", "2018-11-03T03:30:00Z", "2018-11-04T11:00:00Z"},  // nor this time of day
      {"America/Sao_Paulo", "2018-11-04T03:00:00Z", "2018-11-05T11:00:00Z"},
      {"Asia/Beirut", "2021-03-27T12:00:00Z", "2021-03-28T06:00:00Z"},
      {"Australia/Lord_Howe", "2026-04-04T01:00:00Z", "2026-04-04T22:30:00Z"},  // half an hour back
      {"Australia/Lord_Howe", "2026-10-03T01:30:00Z", "2026-10-03T22:00:00Z"},  // half an hour forward
      {"Pacific/Apia", "2011-12-29T20:00:00Z", "2011-12-30T19:00:00Z"},         // from the 29th to the 31st
      {"Pacific/Kiritimati", "2026-03-14T09:59:00Z", "2026-03-14T19:00:00Z"},
  };
  for (const auto& [zone, from, expected] : cases)
    EXPECT_EQ(endOfPauseUntilTomorrow(from, ZonedCalendar(zone)), expected) << zone << " " << from;
}

TEST_F(NotificationPauseStoreTest, countsAnUnknownTimeZoneAsUtc) {
  EXPECT_EQ(endOfPauseUntilTomorrow("2026-03-14T13:10:00Z", ZonedCalendar("Europe/Atlantis")), "2026-03-15T09:00:00Z");
}

TEST_F(NotificationPauseStoreTest, fallsBackToFixedIntervalsWhereTheCalendarFails) {
  EXPECT_EQ(endOfPauseUntilTomorrow("2026-03-14T13:10:00Z", FailingCalendar()), "2026-03-15T12:00:00Z");
}

TEST_F(NotificationPauseStoreTest, forgetsAPauseThatRanOutWhileTheAgentDidNotRun) {
  store.pause(NotificationPauseOption::twoHours, ZonedCalendar("Etc/UTC"));
  time.setWallClock(now() + 240h);
  NotificationPauseStore restarted(defaults, time.clock());
  EXPECT_FALSE(restarted.snapshot().isPaused());
  EXPECT_EQ(defaults.object(untilKey), std::nullopt);
}

}  // namespace
}  // namespace tallyfox
