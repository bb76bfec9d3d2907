// UUIDs have one text form, which is read in either case and written in upper case.

#include "base/Uuid.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace tallyfox {
namespace {

TEST(Uuid, isReadInEitherCaseAndWrittenInUpperCase) {
  const auto upper = Uuid::parsed("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  const auto lower = Uuid::parsed("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
  ASSERT_TRUE(upper.has_value());
  EXPECT_EQ(upper, lower);
  EXPECT_EQ(upper->text(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  EXPECT_EQ(upper->bytes[0], 0xE6);
  EXPECT_EQ(upper->bytes[15], 0x5F);
}

TEST(Uuid, refusesEverythingElse) {
  const std::vector<std::string> refused = {
      "",
      "E621E1F8C36C495A93FC0C247A3E6E5F",
      "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
      "E621E1F8-C36C-495A-93FC-0C247A3E6E5FF",
      "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}",
      "E621E1F8-C36C-495A-93FC-0C247A3E6E5G",
      "E621E1F8-C36C-495A-93FC+0C247A3E6E5F",
      "E621E1F-8C36C-495A-93FC-0C247A3E6E5F",
      " 621E1F8-C36C-495A-93FC-0C247A3E6E5F",
      "+621E1F8-C36C-495A-93FC-0C247A3E6E5F",
      "------------------------------------",
      std::string(36, '\0'),
  };
  for (const std::string& text : refused)
    EXPECT_FALSE(Uuid::parsed(text).has_value()) << testing::PrintToString(text);
}

TEST(Uuid, makesRandomOnesOfVersionFour) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const Uuid id = Uuid::random();
    const std::string text = id.text();
    EXPECT_EQ(text[14], '4') << text;
    EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
    EXPECT_EQ(Uuid::parsed(text), id);
    seen.insert(text);
  }
  EXPECT_EQ(seen.size(), 1000U);
}

TEST(Uuid, ordersAndHashesByItsBytes) {
  const Uuid zero;
  Uuid one;
  one.bytes[15] = 1;
  EXPECT_LT(zero, one);
  EXPECT_EQ(std::hash<Uuid>()(one), std::hash<Uuid>()(Uuid(one)));
  EXPECT_NE(std::hash<Uuid>()(one), std::hash<Uuid>()(zero));
}

}  // namespace
}  // namespace tallyfox
