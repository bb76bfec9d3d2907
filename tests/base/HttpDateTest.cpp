// The date as HTTP's header has it: written to the second, read back, and refused in any other form.

#include "base/HttpDate.hpp"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace tallyfox {
namespace {

using namespace std::chrono;

TEST(HttpDate, isWrittenAndReadBack) {
  const std::vector<std::pair<Date, std::string>> cases = {
      {Date(sys_days(1994y / 11 / 6)) + 8h + 49min + 37s, "Sun, 06 Nov 1994 08:49:37 GMT"},
      {Date(sys_days(2026y / 11 / 22)) + 1h + 31min + 2s, "Sun, 22 Nov 2026 01:31:02 GMT"},
      {Date(sys_days(2024y / 2 / 29)) + 23h + 59min + 59s, "Thu, 29 Feb 2024 23:59:59 GMT"},
      {Date(sys_days(1970y / 1 / 1)), "Thu, 01 Jan 1970 00:00:00 GMT"},
  };
  for (const auto& [date, text] : cases) {
    EXPECT_EQ(formattedHttpDate(date), text);
    EXPECT_EQ(parsedHttpDate(text), date) << text;
  }
}

TEST(HttpDate, dropsFractionsTowardThePast) {
  EXPECT_EQ(formattedHttpDate(Date(sys_days(1970y / 1 / 1)) - 1us), "Wed, 31 Dec 1969 23:59:59 GMT");
}

TEST(HttpDate, readsALeapSecondAsTheNextMinute) {
  EXPECT_EQ(parsedHttpDate("Sat, 31 Dec 2016 23:59:60 GMT"), Date(sys_days(2017y / 1 / 1)));
}

TEST(HttpDate, refusesWhatIsNone) {
  for (const std::string text :
       {"", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994", "Sun, 6 Nov 1994 08:49:37 GMT",
        "Sun, 06 Nov 1994 08:49:37 UTC", "Mon, 06 Nov 1994 08:49:37 GMT", "Sun, 06 Nox 1994 08:49:37 GMT",
        "Wed, 30 Feb 1994 08:49:37 GMT", "Sun, 06 Nov 1994 24:49:37 GMT", "Sun, 06 Nov 1994 08:60:37 GMT",
        "Sun, 06 Nov 1994 08:49:61 GMT", "Sun, 06 Nov 1994 08:49:37 GMT ", "Sun, 0a Nov 1994 08:49:37 GMT"})
    EXPECT_EQ(parsedHttpDate(text), std::nullopt) << text;
}

}  // namespace
}  // namespace tallyfox
