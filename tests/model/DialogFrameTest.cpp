// A frame's identity in whole points, its JSON form, and its equality and hash.

#include "model/DialogFrame.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

namespace tallyfox {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(DialogFrame, hasAnIdentityTruncatedTowardZero) {
  EXPECT_EQ((DialogFrame{-0.7, 10.9, 300, 200}.identity()), "0,10,300,200");
  EXPECT_EQ((DialogFrame{120, 88, 420, 190}.identity()), "120,88,420,190");
  EXPECT_EQ((DialogFrame{-1.9, -0.0, 0.999, 1e15}.identity()), "-1,0,0,1000000000000000");
}

TEST(DialogFrame, hasAnIdentityUpToBothEndsOfTheIntegerRange) {
  EXPECT_EQ((DialogFrame{-0x1p63, 0x1.fffffffffffffp62, 0, 0}.identity()),
            "-9223372036854775808,9223372036854774784,0,0");
}

class DialogFrameDeathTest : public testing::TestWithParam<double> {};

TEST_P(DialogFrameDeathTest, stopsTheProcessForAValueWithoutIdentity) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const double value = GetParam();
  EXPECT_DEATH(static_cast<void>(DialogFrame{value, 0, 0, 0}.identity()), "broken invariant");
  EXPECT_DEATH(static_cast<void>(DialogFrame{0, 0, 0, value}.identity()), "broken invariant");
}

INSTANTIATE_TEST_SUITE_P(Each, DialogFrameDeathTest,
                         testing::Values(infinity, -infinity, notANumber, 0x1p63, -0x1.0000000000001p63, 1e300));

TEST(DialogFrame, hasACentre) {
  const DialogFrame frame{100, 50, 40, 21};
  EXPECT_EQ(frame.centerX(), 120);
  EXPECT_EQ(frame.centerY(), 60.5);
}

TEST(DialogFrame, isWrittenInTheOrderOfItsFields) {
  const Json json = DialogFrame{1.5, -2, 3, 4}.json();
  EXPECT_EQ(json, (Json{{"x", 1.5}, {"y", -2.0}, {"width", 3.0}, {"height", 4.0}}));
  EXPECT_EQ(jsonText(json), R"({"x":1.5,"y":-2.0,"width":3.0,"height":4.0})");
  EXPECT_EQ(DialogFrame::decoded(json), (DialogFrame{1.5, -2, 3, 4}));
}

TEST(DialogFrame, requiresAllItsKeys) {
  const Json complete = DialogFrame{1, 2, 3, 4}.json();
  for (const auto& item : complete.items()) {
    Json lacking = complete;
    lacking.erase(item.key());
    EXPECT_FALSE(DialogFrame::decoded(lacking).has_value()) << item.key();
    Json mistyped = complete;
    mistyped[item.key()] = "1";
    EXPECT_FALSE(DialogFrame::decoded(mistyped).has_value()) << item.key();
  }
  EXPECT_FALSE(DialogFrame::decoded(Json::array({1, 2, 3, 4})).has_value());
}

TEST(DialogFrame, takesWholeNumbersForItsFields) {
  EXPECT_EQ(DialogFrame::decoded(parsedJson(R"({"x":1,"y":2,"width":3,"height":4,"more":true})").value()),
            (DialogFrame{1, 2, 3, 4}));
}

TEST(DialogFrame, treatsBothZerosAlike) {
  const DialogFrame positive{0.0, 0.0, 0.0, 0.0};
  const DialogFrame negative{-0.0, -0.0, -0.0, -0.0};
  EXPECT_EQ(positive, negative);
  EXPECT_EQ(std::hash<DialogFrame>()(positive), std::hash<DialogFrame>()(negative));
}

TEST(DialogFrame, differsInEveryField) {
  const DialogFrame frame{1, 2, 3, 4};
  for (const DialogFrame& other : {DialogFrame{9, 2, 3, 4}, DialogFrame{1, 9, 3, 4}, DialogFrame{1, 2, 9, 4},
                                   DialogFrame{1, 2, 3, 9}, DialogFrame{2, 1, 3, 4}}) {
    EXPECT_NE(frame, other);
    EXPECT_NE(std::hash<DialogFrame>()(frame), std::hash<DialogFrame>()(other));
  }
}

}  // namespace
}  // namespace tallyfox
