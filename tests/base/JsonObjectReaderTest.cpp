// The reader of one object: required and optional members of each type, and the first failure of all, which names the
// member and never its value.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/Json.hpp"

namespace tallyfox {
namespace {

using testing::HasSubstr;
using testing::Not;

const Json& sample() {
  static const Json value = {
      {"text", "hunter2"},
      {"yes", true},
      {"count", 3},
      {"whole", 3.0},
      {"real", 2.5},
      {"nothing", nullptr},
      {"id", "e621e1f8-c36c-495a-93fc-0c247a3e6e5f"},
      {"when", "2026-03-14T09:26:53.5Z"},
      {"lines", {"a", "b"}},
      {"mixed", {"a", 1}},
      {"object", Json::object()},
  };
  return value;
}

TEST(JsonObjectReader, readsEachType) {
  JsonObjectReader reader(sample());
  EXPECT_EQ(reader.string("text"), "hunter2");
  EXPECT_TRUE(reader.boolean("yes"));
  EXPECT_EQ(reader.integer("count", 0, 10), 3);
  EXPECT_EQ(reader.number("real"), 2.5);
  EXPECT_EQ(reader.number("count"), 3.0);
  EXPECT_EQ(reader.uuid("id").text(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  EXPECT_EQ(reader.date("when"), parsedISO8601("2026-03-14T09:26:53.5Z"));
  EXPECT_EQ(reader.strings("lines"), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(reader.member("object").is_object());
  EXPECT_FALSE(reader.error().has_value());
}

TEST(JsonObjectReader, readsAbsentAndNullOptionalMembersAsAbsent) {
  JsonObjectReader reader(sample());
  for (const char* key : {"nothing", "missing"}) {
    EXPECT_EQ(reader.optionalString(key), std::nullopt);
    EXPECT_EQ(reader.optionalBoolean(key), std::nullopt);
    EXPECT_EQ(reader.optionalUuid(key), std::nullopt);
    EXPECT_EQ(reader.optionalDate(key), std::nullopt);
    EXPECT_EQ(reader.optionalMember(key), nullptr);
  }
  EXPECT_FALSE(reader.error().has_value());
}

TEST(JsonObjectReader, readsPresentOptionalMembers) {
  JsonObjectReader reader(sample());
  EXPECT_EQ(reader.optionalString("text"), "hunter2");
  EXPECT_EQ(reader.optionalBoolean("yes"), true);
  EXPECT_TRUE(reader.optionalUuid("id").has_value());
  EXPECT_TRUE(reader.optionalDate("when").has_value());
  EXPECT_NE(reader.optionalMember("object"), nullptr);
  EXPECT_FALSE(reader.error().has_value());
}

struct Misreading {
  const char* name;
  void (*read)(JsonObjectReader& reader);
  const char* member;
};

class JsonObjectReaderFailure : public testing::TestWithParam<Misreading> {};

TEST_P(JsonObjectReaderFailure, namesTheMemberAndNotItsValue) {
  JsonObjectReader reader(sample());
  GetParam().read(reader);
  ASSERT_TRUE(reader.error().has_value());
  EXPECT_THAT(reader.error()->description, HasSubstr(GetParam().member));
  EXPECT_THAT(reader.error()->description, Not(HasSubstr("hunter2")));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Each, JsonObjectReaderFailure, testing::Values(
    Misreading{"missingString", [](JsonObjectReader& r) { EXPECT_EQ(r.string("missing"), ""); }, "missing"},
    Misreading{"nullString", [](JsonObjectReader& r) { EXPECT_EQ(r.string("nothing"), ""); }, "nothing"},
    Misreading{"numberAsString", [](JsonObjectReader& r) { EXPECT_EQ(r.string("count"), ""); }, "count"},
    Misreading{"numberAsOptionalString", [](JsonObjectReader& r) { EXPECT_FALSE(r.optionalString("count")); }, "count"},
    Misreading{"stringAsBoolean", [](JsonObjectReader& r) { EXPECT_FALSE(r.boolean("text")); }, "text"},
    Misreading{"numberAsBoolean", [](JsonObjectReader& r) { EXPECT_FALSE(r.boolean("count")); }, "count"},
    Misreading{"missingBoolean", [](JsonObjectReader& r) { EXPECT_FALSE(r.boolean("missing")); }, "missing"},
    Misreading{"stringAsOptionalBoolean", [](JsonObjectReader& r) { EXPECT_FALSE(r.optionalBoolean("text")); }, "text"},
    Misreading{"fractionAsInteger", [](JsonObjectReader& r) { EXPECT_EQ(r.integer("real", 0, 9), 0); }, "real"},
    Misreading{"stringAsInteger", [](JsonObjectReader& r) { EXPECT_EQ(r.integer("text", 0, 9), 0); }, "text"},
    Misreading{"booleanAsInteger", [](JsonObjectReader& r) { EXPECT_EQ(r.integer("yes", 0, 9), 0); }, "yes"},
    Misreading{"integerAboveRange", [](JsonObjectReader& r) { EXPECT_EQ(r.integer("count", 0, 2), 0); }, "count"},
    Misreading{"integerBelowRange", [](JsonObjectReader& r) { EXPECT_EQ(r.integer("count", 4, 9), 0); }, "count"},
    Misreading{"stringAsNumber", [](JsonObjectReader& r) { EXPECT_EQ(r.number("text"), 0); }, "text"},
    Misreading{"booleanAsNumber", [](JsonObjectReader& r) { EXPECT_EQ(r.number("yes"), 0); }, "yes"},
    Misreading{"missingNumber", [](JsonObjectReader& r) { EXPECT_EQ(r.number("missing"), 0); }, "missing"},
    Misreading{"textAsUuid", [](JsonObjectReader& r) { EXPECT_EQ(r.uuid("text"), Uuid{}); }, "text"},
    Misreading{"textAsOptionalUuid", [](JsonObjectReader& r) { EXPECT_FALSE(r.optionalUuid("text")); }, "text"},
    Misreading{"missingUuid", [](JsonObjectReader& r) { EXPECT_EQ(r.uuid("missing"), Uuid{}); }, "missing"},
    Misreading{"missingDate", [](JsonObjectReader& r) { EXPECT_EQ(r.date("missing"), Date{}); }, "missing"},
    Misreading{"stringAsStrings", [](JsonObjectReader& r) { EXPECT_TRUE(r.strings("text").empty()); }, "text"},
    Misreading{"mixedAsStrings", [](JsonObjectReader& r) { EXPECT_TRUE(r.strings("mixed").empty()); }, "mixed"},
    Misreading{"missingStrings", [](JsonObjectReader& r) { EXPECT_TRUE(r.strings("missing").empty()); }, "missing"},
    Misreading{"missingMember", [](JsonObjectReader& r) { EXPECT_TRUE(r.member("missing").is_null()); }, "missing"}),
    [](const auto& failure) { return std::string(failure.param.name); });
// clang-format on

TEST(JsonObjectReader, saysWhatADateShouldBe) {
  JsonObjectReader reader(sample());
  EXPECT_EQ(reader.date("text"), Date{});
  ASSERT_TRUE(reader.error().has_value());
  EXPECT_EQ(reader.error()->description, "Expected ISO-8601 date string.");
}

TEST(JsonObjectReader, readsIntegersWrittenAsRealNumbers) {
  JsonObjectReader reader(sample());
  EXPECT_EQ(reader.integer("whole", 0, 10), 3);
  EXPECT_FALSE(reader.error().has_value());
}

TEST(JsonObjectReader, readsIntegersUpToBothEndsOfTheirRange) {
  const auto read = [](const char* number) {
    const Json value = parsedJson(R"({"n":)" + std::string(number) + "}").value();
    JsonObjectReader reader(value);
    const std::int64_t integer = reader.integer("n", INT64_MIN, INT64_MAX);
    return reader.finish(integer);
  };
  EXPECT_EQ(read("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(read("-9223372036854775808"), INT64_MIN);
  EXPECT_EQ(read("-0"), 0);
  EXPECT_FALSE(read("9223372036854775808").has_value());
  EXPECT_FALSE(read("18446744073709551616").has_value());
  EXPECT_FALSE(read("-9223372036854775809").has_value());
  EXPECT_FALSE(read("1e300").has_value());
  EXPECT_FALSE(read("9223372036854775808.0").has_value());
}

TEST(JsonObjectReader, keepsTheFirstFailure) {
  JsonObjectReader reader(sample());
  EXPECT_EQ(reader.string("first"), "");
  EXPECT_EQ(reader.string("second"), "");
  reader.fail({"third"});
  const auto finished = reader.finish(std::string("record"));
  ASSERT_FALSE(finished.has_value());
  EXPECT_THAT(finished.error().description, HasSubstr("first"));
}

TEST(JsonObjectReader, givesTheRecordWhenNothingFailed) {
  JsonObjectReader reader(sample());
  EXPECT_EQ(reader.finish(std::string("record")), "record");
}

TEST(JsonObjectReader, failsOnWhatIsNoObject) {
  for (const Json& value : {Json(), Json::array(), Json("text"), Json(1)}) {
    JsonObjectReader reader(value);
    EXPECT_TRUE(reader.error().has_value());
    EXPECT_EQ(reader.string("text"), "");
    EXPECT_EQ(reader.optionalMember("text"), nullptr);
  }
}

}  // namespace
}  // namespace tallyfox
