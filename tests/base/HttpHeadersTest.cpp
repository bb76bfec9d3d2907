// Shows that no header of a request can smuggle in another.

#include "base/HttpHeaders.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

TEST(HttpHeaders, acceptsNamesAndValuesOfOneLine) {
  EXPECT_TRUE(areHeadersWellFormed({}));
  EXPECT_TRUE(areHeadersWellFormed({{"authorization", "Bearer abc"}, {"x", "grün"}, {"empty", ""}}));
}

TEST(HttpHeaders, refusesHeadersThatWouldEndTheirLine) {
  for (const auto& [name, value] : HeaderList{{"x", "a\nb"}, {"x", "a\rb"}, {"x: y", "z"}, {"", "z"}, {"a\nb", "z"}})
    EXPECT_FALSE(areHeadersWellFormed({{name, value}}));
}

}  // namespace
}  // namespace tallyfox
