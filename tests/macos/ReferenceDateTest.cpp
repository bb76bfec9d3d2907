// Moments survive the way to the Mac's dates and back to the microsecond, and what is no moment is left out.

#include "platform/macos/ReferenceDate.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

namespace tallyfox::mac_os {
namespace {

using namespace std::chrono;

TEST(ReferenceDate, countsFromTheFirstDayOf2001) {
  EXPECT_EQ(referenceSeconds(sys_days{January / 1 / 2001}), 0);
  EXPECT_EQ(referenceSeconds(Date{}), -978307200);
  EXPECT_EQ(referenceSeconds(sys_days{January / 1 / 2001} + milliseconds{-250}), -0.25);
  EXPECT_EQ(dateFromReferenceSeconds(0), Date{sys_days{January / 1 / 2001}});
  EXPECT_EQ(dateFromReferenceSeconds(-978307200), Date{});
}

TEST(ReferenceDate, keepsMicrosecondsBothWays) {
  for (const auto year : {1904, 1969, 1970, 2000, 2001, 2026, 2100, 2222})
    for (const auto fraction : {0, 1, 2, 333333, 499999, 500000, 653589, 999998, 999999}) {
      const Date date = sys_days{std::chrono::year{year} / March / 14} + hours{9} + microseconds{fraction};
      EXPECT_EQ(dateFromReferenceSeconds(referenceSeconds(date)), date) << year << " " << fraction;
    }
}

TEST(ReferenceDate, roundsToTheNearestMicrosecond) {
  EXPECT_EQ(dateFromReferenceSeconds(1.0000006), Date{sys_days{January / 1 / 2001} + microseconds{1000001}});
  EXPECT_EQ(dateFromReferenceSeconds(-1.0000006), Date{sys_days{January / 1 / 2001} - microseconds{1000001}});
}

TEST(ReferenceDate, coversAllThatADateCanSay) {
  EXPECT_LT(referenceSeconds(Date::min()), -9.2e12);
  EXPECT_GT(referenceSeconds(Date::max()), 9.2e12);
}

TEST(ReferenceDate, knowsTheSystemsOwnFarDates) {
  // Year 4001 and year 1.
  EXPECT_EQ(dateFromReferenceSeconds(63113904000), Date{sys_days{January / 1 / 4001}});
  EXPECT_TRUE(dateFromReferenceSeconds(-63114076800).has_value());
}

TEST(ReferenceDate, isAbsentForWhatIsNoMoment) {
  EXPECT_EQ(dateFromReferenceSeconds(std::nan("")), std::nullopt);
  EXPECT_EQ(dateFromReferenceSeconds(std::numeric_limits<double>::infinity()), std::nullopt);
  EXPECT_EQ(dateFromReferenceSeconds(-std::numeric_limits<double>::infinity()), std::nullopt);
  EXPECT_EQ(dateFromReferenceSeconds(1e13), std::nullopt);
  EXPECT_EQ(dateFromReferenceSeconds(-std::numeric_limits<double>::max()), std::nullopt);
}

}  // namespace
}  // namespace tallyfox::mac_os
