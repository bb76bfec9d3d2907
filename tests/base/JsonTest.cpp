// JSON from outside: whatever the bytes are, parsing gives a value or an error, bounded in size, depth and time, and
// the error never quotes what was read.

#include "base/Json.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/Limits.hpp"

namespace tallyfox {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string nested(std::size_t depth) {
  return std::string(depth, '[') + std::string(depth, ']');
}

TEST(Json, refusesWhatIsNoJson) {
  const std::vector<std::string> refused = {
      "",    " ",        "{",  "{]", "{}}", "{} {}", "[1,]",   "{\"a\":1,}",      "{'a':1}",   "{a:1}",          "nul",
      "NaN", "Infinity", "01", "+1", ".5",  "1.",    "\"open", "\"line\nbreak\"", "\"\\x41\"", "// comment\n{}",
  };
  for (const std::string& text : refused)
    EXPECT_FALSE(parsedJson(text).has_value()) << text;
}

TEST(Json, refusesIllFormedUtf8) {
  EXPECT_FALSE(parsedJson("\"\xFF\"").has_value());
  EXPECT_FALSE(parsedJson("\"\xED\xA0\x80\"").has_value());
  EXPECT_FALSE(parsedJson("{\"\xC3\":1}").has_value());
  EXPECT_FALSE(parsedJson("\xFF\xFE{}").has_value());
}

TEST(Json, refusesLoneSurrogatesAndReadsPairs) {
  EXPECT_FALSE(parsedJson(R"("\ud83d")").has_value());
  EXPECT_FALSE(parsedJson(R"("\ude00")").has_value());
  EXPECT_FALSE(parsedJson(R"("\ud83d\ud83d")").has_value());
  EXPECT_FALSE(parsedJson(R"("\ud83dx")").has_value());
  EXPECT_EQ(parsedJson(R"("\ud83d\ude00")"), Json("😀"));
}

TEST(Json, refusesNulBytesAndReadsTheirEscape) {
  EXPECT_FALSE(parsedJson(std::string_view("{}\0", 3)).has_value());
  EXPECT_FALSE(parsedJson(std::string_view("{}\0garbage", 10)).has_value());
  EXPECT_FALSE(parsedJson(std::string_view("\"a\0b\"", 5)).has_value());
  EXPECT_EQ(parsedJson(R"("a\u0000b")"), Json(std::string("a\0b", 3)));
}

TEST(Json, countsTheLastOfTwoEqualKeys) {
  const auto value = parsedJson(R"({"a":{"deep":1},"b":2,"a":"last"})");
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ((*value)["a"], "last");
  EXPECT_EQ(value->size(), 2U);
}

TEST(Json, refusesHugeNumbersWithoutHarm) {
  EXPECT_FALSE(parsedJson("1e999").has_value());
  EXPECT_FALSE(parsedJson("[-1e999]").has_value());
  const auto digits = parsedJson(std::string(300, '9'));
  ASSERT_TRUE(digits.has_value());
  EXPECT_TRUE(digits->is_number_float());
  EXPECT_FALSE(parsedJson(std::string(400, '9')).has_value());
}

TEST(Json, boundsNesting) {
  EXPECT_TRUE(parsedJson(nested(limits::jsonDepth)).has_value());
  EXPECT_FALSE(parsedJson(nested(limits::jsonDepth + 1)).has_value());
  EXPECT_FALSE(parsedJson(nested(1'000'000)).has_value());
  EXPECT_FALSE(parsedJson(std::string(limits::frameBytes, '[')).has_value());
  std::string objects;
  for (int i = 0; i < 100'000; ++i)
    objects += R"({"a":)";
  EXPECT_FALSE(parsedJson(objects).has_value());
}

TEST(Json, countsOnlyBracketsOutsideOfStrings) {
  const std::string text = "\"" + std::string(limits::jsonDepth * 2, '[') + R"(\"[{\\")";
  EXPECT_TRUE(parsedJson(text).has_value());
  EXPECT_TRUE(parsedJson("[" + text + "," + text + "]").has_value());
}

TEST(Json, boundsSize) {
  const std::string fitting = "\"" + std::string(limits::frameBytes - 2, 'a') + "\"";
  EXPECT_TRUE(parsedJson(fitting).has_value());
  EXPECT_FALSE(parsedJson(fitting + " ").has_value());
}

// Looking up a member is linear, so an object of very many members would cost quadratic time.
TEST(Json, boundsTheMembersOfAnObject) {
  const auto object = [](std::size_t members) {
    std::string text = "{";
    for (std::size_t i = 0; i < members; ++i)
      text += (i > 0 ? ",\"" : "\"") + std::to_string(i) + "\":[1,2,3]";
    return text + "}";
  };
  EXPECT_TRUE(parsedJson(object(limits::jsonMembers)).has_value());
  EXPECT_FALSE(parsedJson(object(limits::jsonMembers + 1)).has_value());
  EXPECT_FALSE(parsedJson("[" + object(limits::jsonMembers + 1) + "]").has_value());
  EXPECT_FALSE(parsedJson(object(500'000)).has_value());
}

TEST(Json, doesNotBoundTheElementsOfAnArray) {
  std::string text = "[0";
  for (std::size_t i = 0; i < limits::jsonMembers * 2; ++i)
    text += ",{}";
  EXPECT_TRUE(parsedJson(text + "]").has_value());
}

TEST(Json, neverQuotesValuesInErrors) {
  for (const std::string text : {R"({"token":"hunter2"x})", R"("hunter2)", "hunter2", "\"hunter2\xFF\""}) {
    const auto value = parsedJson(text);
    ASSERT_FALSE(value.has_value());
    EXPECT_FALSE(value.error().description.empty());
    EXPECT_THAT(value.error().description, Not(HasSubstr("hunter2")));
  }
}

TEST(Json, isWrittenCompactlyInTheOrderOfItsMembers) {
  EXPECT_EQ(jsonText({{"z", 1}, {"a", {true, nullptr, "ü"}}}), R"({"z":1,"a":[true,null,"ü"]})");
  EXPECT_EQ(jsonText(Json::array()), "[]");
}

TEST(Json, writesIllFormedStringsRepaired) {
  EXPECT_EQ(jsonText(Json("a\xFFz")), "\"a\uFFFDz\"");
  EXPECT_TRUE(parsedJson(jsonText(Json("\xED\xA0\x80"))).has_value());
}

TEST(Json, readsBackWhatItWrote) {
  const Json value = {{"text", "\"\\\n\u0001😀"}, {"real", -0.1}, {"least", INT64_MIN}, {"list", {{{"a", 1}}}}};
  EXPECT_EQ(parsedJson(jsonText(value)), value);
}

}  // namespace
}  // namespace tallyfox
