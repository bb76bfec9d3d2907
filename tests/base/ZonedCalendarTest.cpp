// Days, hours and day names in real time zones, across every kind of clock change, whatever the process's own locale
// and time zone are.

#include "base/ZonedCalendar.hpp"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <locale>
#include <string>
#include <vector>

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

Date date(const std::string& iso8601) {
  return parsedISO8601(iso8601).value();
}

std::string text(std::optional<Date> moment) {
  return moment ? formattedISO8601(*moment) : "absent";
}

struct Case {
  std::string zone;
  std::string from;
  std::string expected;
};

TEST(ZonedCalendar, keepsTheTimeOfDayWhenItAddsADay) {
  const std::vector<Case> cases = {
      {"Etc/UTC", "2026-03-14T13:10:00Z", "2026-03-15T13:10:00Z"},
      // A day of 23 hours, and one of 25.
      {"Europe/Berlin", "2026-03-28T12:00:00Z", "2026-03-29T11:00:00Z"},
      {"Europe/Berlin", "2026-10-24T10:00:00Z", "2026-10-25T11:00:00Z"},
      {"America/New_York", "2026-03-07T17:00:00Z", "2026-03-08T16:00:00Z"},
      {"America/New_York", "2026-10-31T16:00:00Z", "2026-11-01T17:00:00Z"},
      // Half an hour.
      {"Australia/Lord_Howe", "2026-04-04T01:00:00Z", "2026-04-05T01:30:00Z"},
      {"Australia/Lord_Howe", "2026-10-03T01:30:00Z", "2026-10-04T01:00:00Z"},
      // 2011-12-30 did not happen there: the next day is the 31st.
      {"Pacific/Apia", "2011-12-29T20:00:00Z", "2011-12-30T20:00:00Z"},
  };
  for (const auto& [zone, from, expected] : cases)
    EXPECT_EQ(text(ZonedCalendar(zone).addingDays(date(from), 1)), expected) << zone << " " << from;
}

TEST(ZonedCalendar, movesATimeThatTheClockSkipsToTheEndOfTheGap) {
  // 02:30 on the day before; the clock goes from 02:00 to 03:00.
  EXPECT_EQ(text(ZonedCalendar("Europe/Berlin").addingDays(date("2026-03-28T01:30:00Z"), 1)), "2026-03-29T01:00:00Z");
  // 00:30 on the day before; the clock goes from 00:00 to 01:00.
  EXPECT_EQ(text(ZonedCalendar("America/Sao_Paulo").addingDays(date("2018-11-03T03:30:00Z"), 1)),
            "2018-11-04T03:00:00Z");
}

TEST(ZonedCalendar, goesBackAndForthByManyDays) {
  const ZonedCalendar berlin("Europe/Berlin");
  EXPECT_EQ(text(berlin.addingDays(date("2026-07-01T10:00:00Z"), 184)), "2027-01-01T11:00:00Z");
  EXPECT_EQ(text(berlin.addingDays(date("2027-01-01T11:00:00Z"), -184)), "2026-07-01T10:00:00Z");
  EXPECT_EQ(text(berlin.addingDays(date("2028-02-28T10:00:00Z"), 1)), "2028-02-29T10:00:00Z");
}

TEST(ZonedCalendar, keepsMicrosecondsAlsoBefore1970) {
  const ZonedCalendar utc("Etc/UTC");
  const Date before = date("1969-07-20T20:17:40Z") + 123456us;
  EXPECT_EQ(utc.addingDays(before, 1), before + 24h);
}

TEST(ZonedCalendar, cannotComputeWhatDateCannotHold) {
  EXPECT_EQ(ZonedCalendar("Etc/UTC").addingDays(Date::max(), 1), std::nullopt);
  EXPECT_EQ(ZonedCalendar("Etc/UTC").addingDays(Date::min(), -1), std::nullopt);
  EXPECT_EQ(ZonedCalendar("Etc/UTC").settingHour(9, Date::max()), std::nullopt);
}

TEST(ZonedCalendar, startsTheDayAtMidnightElseAtTheFirstMomentThereIs) {
  const std::vector<Case> cases = {
      {"Etc/UTC", "2026-03-14T23:59:59Z", "2026-03-14T00:00:00Z"},
      {"Europe/Berlin", "2026-03-29T12:00:00Z", "2026-03-28T23:00:00Z"},
      {"America/New_York", "2026-11-01T04:30:00Z", "2026-11-01T04:00:00Z"},
      {"Asia/Kolkata", "2026-03-14T18:29:59Z", "2026-03-13T18:30:00Z"},
      {"Asia/Kolkata", "2026-03-14T18:30:00Z", "2026-03-14T18:30:00Z"},
      // No midnight: the day starts at 01:00 on the clock.
      {"America/Sao_Paulo", "2018-11-04T15:00:00Z", "2018-11-04T03:00:00Z"},
      {"Asia/Beirut", "2021-03-28T12:00:00Z", "2021-03-27T22:00:00Z"},
      // The clock went back from 00:01 to 23:01: midnight came twice, and the day began with the first.
      {"America/St_Johns", "2006-10-29T15:00:00Z", "2006-10-29T02:30:00Z"},
      {"Pacific/Apia", "2011-12-30T12:00:00Z", "2011-12-30T10:00:00Z"},
  };
  for (const auto& [zone, from, expected] : cases)
    EXPECT_EQ(text(ZonedCalendar(zone).startOfDay(date(from))), expected) << zone << " " << from;
}

TEST(ZonedCalendar, setsTheHourThatTheClockShows) {
  const std::vector<Case> cases = {
      {"Etc/UTC", "2026-03-14T23:59:59Z", "2026-03-14T09:00:00Z"},
      // Eight, ten, eight and a half hours after the day began.
      {"Europe/Berlin", "2026-03-28T23:00:00Z", "2026-03-29T07:00:00Z"},
      {"Europe/Berlin", "2026-10-24T22:00:00Z", "2026-10-25T08:00:00Z"},
      {"America/New_York", "2026-03-08T05:00:00Z", "2026-03-08T13:00:00Z"},
      {"America/New_York", "2026-11-01T04:00:00Z", "2026-11-01T14:00:00Z"},
      {"Australia/Lord_Howe", "2026-10-03T13:30:00Z", "2026-10-03T22:00:00Z"},
      {"America/Sao_Paulo", "2018-11-04T03:00:00Z", "2018-11-04T11:00:00Z"},
      {"Asia/Beirut", "2021-03-27T22:00:00Z", "2021-03-28T06:00:00Z"},
      {"Pacific/Apia", "2011-12-30T10:00:00Z", "2011-12-30T19:00:00Z"},
  };
  for (const auto& [zone, from, expected] : cases)
    EXPECT_EQ(text(ZonedCalendar(zone).settingHour(9, date(from))), expected) << zone << " " << from;
}

TEST(ZonedCalendar, takesTheFirstOfARepeatedHourAndTheMomentBehindASkippedOne) {
  const ZonedCalendar berlin("Europe/Berlin");
  EXPECT_EQ(text(berlin.settingHour(2, date("2026-10-25T12:00:00Z"))), "2026-10-25T00:00:00Z");
  EXPECT_EQ(text(berlin.settingHour(2, date("2026-03-29T12:00:00Z"))), "2026-03-29T01:00:00Z");
}

TEST(ZonedCalendar, knowsWhichDayItIs) {
  using std::chrono::local_days;
  const Date moment = date("2026-03-14T23:30:00Z");
  EXPECT_EQ(ZonedCalendar("Etc/UTC").day(moment), local_days(std::chrono::March / 14 / 2026));
  EXPECT_EQ(ZonedCalendar("Europe/Berlin").day(moment), local_days(std::chrono::March / 15 / 2026));
  EXPECT_EQ(ZonedCalendar("America/New_York").day(date("1970-01-01T00:00:00Z")),
            local_days(std::chrono::December / 31 / 1969));
}

TEST(ZonedCalendar, formatsInAmericanEnglishInItsZone) {
  const Date moment = date("2026-03-14T23:05:00Z");
  EXPECT_EQ(ZonedCalendar("Europe/Berlin").formatted(moment, "EEEE, MMM d, yyyy 'at' h:mm a"),
            "Sunday, Mar 15, 2026 at 12:05 AM");
  EXPECT_EQ(ZonedCalendar("America/New_York").formatted(moment, "EEEE h:mm a"), "Saturday 7:05 PM");
}

TEST(ZonedCalendar, takesFixedOffsetsAndCountsAnUnknownZoneAsUtc) {
  const Date moment = date("2026-03-14T20:00:00Z");
  EXPECT_EQ(text(ZonedCalendar("GMT+05:30").startOfDay(moment)), "2026-03-14T18:30:00Z");
  EXPECT_EQ(text(ZonedCalendar("GMT-03:00").startOfDay(moment)), "2026-03-14T03:00:00Z");
  for (const std::string unknown : {"", "Europe/Atlantis", "europe berlin", "\xFF\xFE", "CET-1CEST,M3.5.0"}) {
    EXPECT_EQ(text(ZonedCalendar(unknown).startOfDay(moment)), "2026-03-14T00:00:00Z") << unknown;
    EXPECT_EQ(text(ZonedCalendar(unknown).settingHour(9, moment)), "2026-03-14T09:00:00Z") << unknown;
  }
}

TEST(ZonedCalendar, knowsTheNamesOfTheDatabaseAlone) {
  for (const std::string known : {"Europe/Berlin", "Asia/Calcutta", "Etc/UTC", "UTC", "EST5EDT", "Etc/GMT+5"})
    EXPECT_TRUE(ZonedCalendar::hasTimeZone(known)) << known;
  for (const std::string unknown : {"", "Europe/Atlantis", "GMT+5", "GMT+05:30", "CET-1CEST", "\xFF"})
    EXPECT_FALSE(ZonedCalendar::hasTimeZone(unknown)) << unknown;
}

/// Digits are grouped as no other locale does.
class OddDigits : public std::numpunct<char> {
  char do_thousands_sep() const override { return '_'; }
  std::string do_grouping() const override { return "\1"; }
};

TEST(ZonedCalendar, dependsOnNeitherTheProcessLocaleNorItsTimeZone) {
  const Date moment = date("2026-03-14T12:00:00Z");
  const ZonedCalendar newYork("America/New_York");
  const auto all = [&] {
    return text(newYork.addingDays(moment, 1)) + text(newYork.startOfDay(moment)) +
           text(newYork.settingHour(9, moment)) + newYork.formatted(moment, "EEEE, MMMM d, yyyy 'at' h:mm a");
  };
  const std::string expected = all();

  const icu::Locale icuLocale = icu::Locale::getDefault();
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("th_TH@calendar=buddhist;numbers=thai"), status);
  icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Asia/Bangkok"));
  const std::locale locale = std::locale::global(std::locale(std::locale::classic(), new OddDigits));
  const std::string elsewhere = all();
  std::locale::global(locale);
  icu::TimeZone::setDefault(*zone);
  icu::Locale::setDefault(icuLocale, status);

  EXPECT_EQ(elsewhere, expected);
  EXPECT_EQ(expected,
            "2026-03-15T12:00:00Z2026-03-14T04:00:00Z2026-03-14T13:00:00ZSaturday, March 14, 2026 at 8:00 AM");
}

}  // namespace
}  // namespace tallyfox
