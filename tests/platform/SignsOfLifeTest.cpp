// Every reader learns of each program heard of since it last asked, and of no other.

#include "platform/linux/SignsOfLife.hpp"

#include <gmock/gmock.h>

namespace tallyfox::linux_os {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(SignsOfLife, tellsEachReaderWhatIsNewToIt) {
  SignsOfLife signs;
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  EXPECT_THAT(signs.since(first), IsEmpty());
  signs.note(7);
  signs.note(8);
  EXPECT_THAT(signs.since(first), ElementsAre(7, 8));
  signs.note(9);
  EXPECT_THAT(signs.since(first), ElementsAre(9));
  EXPECT_THAT(signs.since(second), ElementsAre(7, 8, 9));
  EXPECT_THAT(signs.since(second), IsEmpty());
}

TEST(SignsOfLife, keepsTheLatestOfVeryMany) {
  SignsOfLife signs;
  std::uint64_t seen = 0;
  for (std::int32_t process = 1; process <= 1000; ++process)
    signs.note(process);
  const auto latest = signs.since(seen);
  EXPECT_THAT(latest, SizeIs(256));
  EXPECT_EQ(latest.back(), 1000);
  EXPECT_THAT(signs.since(seen), IsEmpty());
}

}  // namespace
}  // namespace tallyfox::linux_os
