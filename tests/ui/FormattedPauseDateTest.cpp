// How the end of a pause is told: the time today, the day too when it is another, on the owner's own clock.

#include "ui/FormattedPauseDate.hpp"

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <string>
#include <vector>

namespace tallyfox {
namespace {

struct Case {
  std::string zone;
  std::string now;
  std::string end;
  std::string expected;
};

std::string formatted(const Case& example) {
  return formattedPauseDate(parsedISO8601(example.end).value(), parsedISO8601(example.now).value(), example.zone);
}

void expectAll(const std::vector<Case>& cases) {
  for (const Case& example : cases)
    EXPECT_EQ(formatted(example), example.expected) << example.zone << " " << example.end;
}

TEST(FormattedPauseDate, tellsTheTimeAloneToday) {
  expectAll({{"Etc/UTC", "2026-03-14T13:10:00Z", "2026-03-14T15:10:00Z", "3:10 PM"},
             {"Etc/UTC", "2026-03-14T13:10:00Z", "2026-03-14T15:10:59.9Z", "3:10 PM"},
             {"Etc/UTC", "2026-03-14T00:00:00Z", "2026-03-14T00:05:00Z", "12:05 AM"},
             {"Etc/UTC", "2026-03-14T00:00:00Z", "2026-03-14T12:00:00Z", "12:00 PM"},
             {"Europe/Berlin", "2026-03-14T13:10:00Z", "2026-03-14T15:10:00Z", "4:10 PM"},
             {"Asia/Kolkata", "2026-03-14T13:10:00Z", "2026-03-14T15:10:00Z", "8:40 PM"}});
}

TEST(FormattedPauseDate, namesTomorrow) {
  expectAll({{"Etc/UTC", "2026-03-14T23:59:00Z", "2026-03-15T09:00:00Z", "tomorrow at 9:00 AM"},
             {"Etc/UTC", "2026-12-31T23:00:00Z", "2027-01-01T01:00:00Z", "tomorrow at 1:00 AM"},
             {"Etc/UTC", "2026-03-14T00:30:00Z", "2026-03-15T09:00:00Z", "tomorrow at 9:00 AM"}});
}

TEST(FormattedPauseDate, asksTheOwnersClockWhichDayItIs) {
  // Still today in New York, tomorrow in Berlin.
  expectAll({{"America/New_York", "2026-03-14T21:30:00Z", "2026-03-14T23:30:00Z", "7:30 PM"},
             {"Europe/Berlin", "2026-03-14T21:30:00Z", "2026-03-14T23:30:00Z", "tomorrow at 12:30 AM"}});
}

TEST(FormattedPauseDate, namesTheWeekdayWithinAWeekAndTheDateBeyond) {
  expectAll({{"Etc/UTC", "2026-03-14T12:00:00Z", "2026-03-16T09:00:00Z", "Monday at 9:00 AM"},
             {"Etc/UTC", "2026-03-14T12:00:00Z", "2026-03-20T23:59:00Z", "Friday at 11:59 PM"},
             {"Etc/UTC", "2026-03-14T12:00:00Z", "2026-03-21T00:00:00Z", "Mar 21, 2026 at 12:00 AM"},
             {"Etc/UTC", "2026-03-14T12:00:00Z", "2027-03-14T09:00:00Z", "Mar 14, 2027 at 9:00 AM"}});
}

TEST(FormattedPauseDate, tellsThePastByItsDate) {
  expectAll({{"Etc/UTC", "2026-03-14T12:00:00Z", "2026-03-14T09:00:00Z", "9:00 AM"},
             {"Etc/UTC", "2026-03-14T12:00:00Z", "2026-03-13T09:00:00Z", "Mar 13, 2026 at 9:00 AM"}});
}

TEST(FormattedPauseDate, followsTheClockThroughItsChanges) {
  expectAll({{"Europe/Berlin", "2026-03-28T22:30:00Z", "2026-03-29T07:00:00Z", "tomorrow at 9:00 AM"},
             {"Europe/Berlin", "2026-03-28T23:30:00Z", "2026-03-29T01:30:00Z", "3:30 AM"},
             {"Europe/Berlin", "2026-10-25T00:00:00Z", "2026-10-25T02:00:00Z", "3:00 AM"},
             // 25 hours on, yet only tomorrow; 23 hours on, and tomorrow already.
             {"America/New_York", "2026-11-01T04:30:00Z", "2026-11-02T05:30:00Z", "tomorrow at 12:30 AM"},
             {"America/New_York", "2026-03-08T05:30:00Z", "2026-03-09T04:30:00Z", "tomorrow at 12:30 AM"},
             {"America/Sao_Paulo", "2018-11-04T01:00:00Z", "2018-11-04T03:00:00Z", "tomorrow at 1:00 AM"},
             {"Australia/Lord_Howe", "2026-10-03T14:00:00Z", "2026-10-03T16:00:00Z", "3:00 AM"},
             {"Pacific/Apia", "2011-12-29T20:00:00Z", "2011-12-30T19:00:00Z", "Saturday at 9:00 AM"}});
}

TEST(FormattedPauseDate, countsAnUnknownTimeZoneAsUtc) {
  expectAll({{"Europe/Atlantis", "2026-03-14T13:10:00Z", "2026-03-14T15:10:00Z", "3:10 PM"}});
}

TEST(FormattedPauseDate, readsTheSameInEveryLocale) {
  const icu::Locale original = icu::Locale::getDefault();
  for (const char* name : {"de_DE", "ar_EG@numbers=arab", "th_TH@calendar=buddhist", "ja_JP@calendar=japanese"}) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(name), status);
    const std::string text =
        formatted({.zone = "Etc/UTC", .now = "2026-03-14T12:00:00Z", .end = "2026-03-21T15:10:00Z", .expected = ""});
    icu::Locale::setDefault(original, status);
    EXPECT_EQ(text, "Mar 21, 2026 at 3:10 PM") << name;
  }
}

}  // namespace
}  // namespace tallyfox
