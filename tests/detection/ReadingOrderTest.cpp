// Texts are read row by row, each row from left to right; the order is well defined whatever order the texts came in.

#include "detection/ReadingOrder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TextLine line(const std::string& text, double x, double y) {
  return {text, DialogFrame{x, y, 10, 10}};
}

TEST(ReadingOrder, goesFromTopToBottom) {
  EXPECT_THAT(inReadingOrder({line("c", 0, 40), line("a", 50, 0), line("b", 20, 20)}), ElementsAre("a", "b", "c"));
  EXPECT_THAT(inReadingOrder({}), IsEmpty());
}

TEST(ReadingOrder, goesFromLeftToRightWithinSixPoints) {
  EXPECT_THAT(inReadingOrder({line("right", 100, 10), line("left", 0, 16)}), ElementsAre("left", "right"));
  EXPECT_THAT(inReadingOrder({line("left", 0, 16.5), line("right", 100, 10)}), ElementsAre("right", "left"));
}

TEST(ReadingOrder, keepsTheGivenOrderAtEqualPlaces) {
  EXPECT_THAT(inReadingOrder({line("first", 5, 14), line("second", 5, 10)}), ElementsAre("first", "second"));
}

TEST(ReadingOrder, measuresARowFromItsFirstText) {
  // Each is within six points of the next, but the third is not of the first one's row.
  EXPECT_THAT(inReadingOrder({line("3", 0, 10), line("2", 10, 5), line("1", 20, 0)}), ElementsAre("2", "1", "3"));
}

TEST(ReadingOrder, doesNotDependOnTheGivenOrder) {
  std::vector<TextLine> lines = {line("a", 30, 0), line("b", 20, 5), line("c", 10, 10), line("d", 0, 15),
                                 line("e", 40, 18)};
  std::ranges::sort(lines, {}, &TextLine::text);
  const auto expected = inReadingOrder(lines);
  while (std::ranges::next_permutation(lines, {}, &TextLine::text).found)
    EXPECT_EQ(inReadingOrder(lines), expected);
}

TEST(ReadingOrder, putsTextsWithoutAPlaceLast) {
  EXPECT_THAT(inReadingOrder({{"x", std::nullopt}, line("a", 0, 0), {"y", std::nullopt}}), ElementsAre("a", "x", "y"));
}

}  // namespace
}  // namespace tallyfox
