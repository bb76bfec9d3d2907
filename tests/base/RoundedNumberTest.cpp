// Digits and an exponent become the nearest double, at the ends of its range too.

#include "base/RoundedNumber.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tallyfox {
namespace {

using Limits = std::numeric_limits<double>;

TEST(RoundedNumber, readsDecimalDigits) {
  EXPECT_EQ(roundedDecimal("35", -2), 0.35);
  EXPECT_EQ(roundedDecimal("0", 400), 0.0);
  EXPECT_EQ(roundedDecimal("9007199254740993", 0), 9007199254740992.0) << "a tie goes to the even neighbour";
  EXPECT_EQ(roundedDecimal("9007199254740993" + std::string(60, '0') + "1", -61), 9007199254740994.0);
  EXPECT_EQ(roundedDecimal("1" + std::string(500, '0'), -500), 1.0);
}

TEST(RoundedNumber, readsHexadecimalDigits) {
  EXPECT_EQ(roundedHexadecimal("1A", -1), 13.0);
  EXPECT_EQ(roundedHexadecimal("20000000000001", 0), 9007199254740992.0);
  EXPECT_EQ(roundedHexadecimal("20000000000003", 0), 9007199254740996.0);
}

TEST(RoundedNumber, endsInInfinityAndZero) {
  EXPECT_EQ(roundedDecimal("1", 309), Limits::infinity());
  EXPECT_EQ(roundedDecimal("5", -324), Limits::denorm_min());
  EXPECT_EQ(roundedDecimal("2", -324), 0.0);
  EXPECT_EQ(roundedDecimal("1", 1'000'000'000'000), Limits::infinity());
  EXPECT_EQ(roundedHexadecimal("1", -1074), Limits::denorm_min());
  EXPECT_EQ(roundedHexadecimal("1", -1'000'000'000'000), 0.0);
}

}  // namespace
}  // namespace tallyfox
