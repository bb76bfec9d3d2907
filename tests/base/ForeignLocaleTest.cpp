// The locale of the process changes nothing: JSON and dates are read and written as ever while the C and the C++
// library count with commas.

#include "base/ForeignLocale.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "base/Date.hpp"
#include "base/Json.hpp"

namespace tallyfox {
namespace {

class BaseUnderForeignLocale : public ForeignLocaleTest {};

TEST_F(BaseUnderForeignLocale, readsAndWritesJsonNumbersWithPoints) {
  const std::string text = R"({"real":-1234567.25,"small":1e-7,"whole":1234567,"least":-9223372036854775808})";
  const auto value = parsedJson(text);
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ(*value, (Json{{"real", -1234567.25}, {"small", 1e-7}, {"whole", 1234567}, {"least", INT64_MIN}}));
  EXPECT_EQ(jsonText(*value), R"({"real":-1234567.25,"small":1e-07,"whole":1234567,"least":-9223372036854775808})");
  EXPECT_FALSE(parsedJson("1,5").has_value());
}

TEST_F(BaseUnderForeignLocale, readsNumbersOfARecordWithTheirFractions) {
  const auto value = parsedJson(R"({"x":120.5,"n":3.0})");
  ASSERT_TRUE(value.has_value());
  JsonObjectReader reader(*value);
  EXPECT_EQ(reader.number("x"), 120.5);
  EXPECT_EQ(reader.integer("n", 0, 10), 3);
  EXPECT_FALSE(reader.error().has_value());
}

TEST_F(BaseUnderForeignLocale, readsAndWritesDates) {
  const auto date = parsedISO8601("2026-03-14T09:26:53.589+01:00");
  ASSERT_TRUE(date.has_value());
  EXPECT_EQ(formattedISO8601(*date), "2026-03-14T08:26:53Z");
}

}  // namespace
}  // namespace tallyfox
