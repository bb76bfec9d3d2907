// When alerts count as paused.

#include "model/NotificationPauseSnapshot.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

TEST(NotificationPauseSnapshot, isPausedWithAnEndOrWithoutEnd) {
  EXPECT_FALSE(NotificationPauseSnapshot{}.isPaused());
  EXPECT_TRUE((NotificationPauseSnapshot{Date{}, false}.isPaused()));
  EXPECT_TRUE((NotificationPauseSnapshot{std::nullopt, true}.isPaused()));
}

TEST(NotificationPauseSnapshot, isTheSameMemberByMember) {
  const NotificationPauseSnapshot snapshot{Date{}, false};
  EXPECT_EQ(snapshot, (NotificationPauseSnapshot{Date{}, false}));
  EXPECT_NE(snapshot, (NotificationPauseSnapshot{Date{} + Date::duration(1), false}));
  EXPECT_NE(snapshot, (NotificationPauseSnapshot{Date{}, true}));
  EXPECT_NE(snapshot, (NotificationPauseSnapshot{std::nullopt, false}));
}

}  // namespace
}  // namespace tallyfox
