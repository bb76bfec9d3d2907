// Dates are written in UTC with whole seconds and read with or without fractions; everything else is refused.

#include "base/Date.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

Date moment(int year, unsigned month, unsigned day, std::chrono::microseconds sinceMidnight) {
  return std::chrono::sys_days(std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day)) +
         sinceMidnight;
}

const Date pi = moment(2026, 3, 14, 9h + 26min + 53s);

TEST(Date, isWrittenInUtcWithWholeSeconds) {
  EXPECT_EQ(formattedISO8601(pi), "2026-03-14T09:26:53Z");
  EXPECT_EQ(formattedISO8601(moment(1, 1, 1, 0s)), "0001-01-01T00:00:00Z");
}

TEST(Date, dropsFractionsTowardThePast) {
  EXPECT_EQ(formattedISO8601(pi + 999'999us), "2026-03-14T09:26:53Z");
  EXPECT_EQ(formattedISO8601(moment(1969, 12, 31, 23h + 59min + 58s + 500ms)), "1969-12-31T23:59:58Z");
}

TEST(Date, isReadWithAndWithoutFractions) {
  EXPECT_EQ(parsedISO8601("2026-03-14T09:26:53Z"), pi);
  EXPECT_EQ(parsedISO8601("2026-03-14T09:26:53.589Z"), pi + 589ms);
  EXPECT_EQ(parsedISO8601("2026-03-14T09:26:53.5Z"), pi + 500ms);
  EXPECT_EQ(parsedISO8601("2026-03-14T09:26:53.123456789012345678901234567890Z"), pi + 123'456us);
}

TEST(Date, acceptsOffsetsAsZoneDesignators) {
  EXPECT_EQ(parsedISO8601("2026-03-14T10:26:53+01:00"), pi);
  EXPECT_EQ(parsedISO8601("2026-03-14T03:56:53-05:30"), pi);
  EXPECT_EQ(parsedISO8601("2026-03-15T00:26:53.25+15:00"), pi + 250ms);
  EXPECT_EQ(parsedISO8601("2026-03-14T09:26:53-00:00"), pi);
  EXPECT_EQ(parsedISO8601("2026-03-14T10:26:53+0100"), pi) << "the colon may be left out";
}

TEST(Date, knowsLeapDays) {
  EXPECT_TRUE(parsedISO8601("2024-02-29T00:00:00Z").has_value());
  EXPECT_FALSE(parsedISO8601("2026-02-29T00:00:00Z").has_value());
  EXPECT_FALSE(parsedISO8601("2100-02-29T00:00:00Z").has_value());
}

TEST(Date, refusesEverythingElse) {
  const std::vector<std::string> refused = {
      "",
      "2026-03-14 09:26:53",     // no T, no zone
      "2026-03-14 09:26:53Z",    // no T
      "2026-03-14T09:26:53",     // no zone
      "2026-03-14T09:26Z",       // no seconds
      "2026-03-14",              // no time
      "2026-03-14T09:26:53.Z",   // a point without digits
      "2026-03-14T09:26:53,5Z",  // a comma
      "2026-03-14t09:26:53z",    // lower case
      " 2026-03-14T09:26:53Z",   // surrounded
      "2026-03-14T09:26:53Z ",   //
      "2026-03-14T09:26:53ZZ",   //
      "2026-3-14T09:26:53Z",     // short fields
      "+026-03-14T09:26:53Z",    //
      "2026-13-14T09:26:53Z",    // out of range
      "2026-00-14T09:26:53Z",    //
      "2026-03-32T09:26:53Z",    //
      "2026-03-14T24:00:00Z",    //
      "2026-03-14T09:60:53Z",    //
      "2026-03-14T09:26:60Z",    //
      "2026-03-14T09:26:53+24:00",
      "2026-03-14T09:26:53+01:60",
      "2026-03-14T09:26:53+01",
      "2026-03-14T09:26:53+",
      std::string("2026-03-14T09:26:53Z\0", 21),
  };
  for (const std::string& text : refused)
    EXPECT_FALSE(parsedISO8601(text).has_value()) << testing::PrintToString(text);
}

// A date that is read must be writable as one that can be read again.
TEST(Date, refusesMomentsOutsideOfTheWritableYears) {
  EXPECT_TRUE(parsedISO8601("0000-01-01T00:00:00Z").has_value());
  EXPECT_TRUE(parsedISO8601("9999-12-31T23:59:59.999Z").has_value());
  EXPECT_FALSE(parsedISO8601("0000-01-01T00:00:00+00:01").has_value());
  EXPECT_FALSE(parsedISO8601("9999-12-31T23:59:59-00:01").has_value());
}

TEST(Date, readsBackWhatItWrote) {
  for (int day = -20'000; day < 40'000; day += 37) {
    const Date date = Date(std::chrono::days(day)) + std::chrono::seconds(day * 7 % 86'400);
    EXPECT_EQ(parsedISO8601(formattedISO8601(date)), date);
  }
}

}  // namespace
}  // namespace tallyfox
