// The bound on strangers: the oldest goes, and one that went elsewhere does not count.
#include "UnauthenticatedConnections.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox::server {
namespace {

struct Stranger {
  explicit Stranger(UnauthenticatedConnections& all)
      : ticket(all.admit([this](CloseCode code) { turnedAway.push_back(code); })) {}
  std::vector<CloseCode> turnedAway;
  std::unique_ptr<UnauthenticatedConnections::Ticket> ticket;
};

TEST(UnauthenticatedConnections, turnsTheOldestAwayForOneTooMany) {
  UnauthenticatedConnections all(2);
  const Stranger first(all), second(all);
  EXPECT_TRUE(first.turnedAway.empty());
  const Stranger third(all);
  EXPECT_EQ(first.turnedAway, std::vector{CloseCode::tryAgainLater});
  EXPECT_TRUE(second.turnedAway.empty());
  EXPECT_TRUE(third.turnedAway.empty());
  EXPECT_EQ(all.count(), 2U);
}

TEST(UnauthenticatedConnections, aGivenUpPlaceIsFreeForAnother) {
  UnauthenticatedConnections all(2);
  Stranger first(all);
  const Stranger second(all);
  first.ticket.reset();
  const Stranger third(all);
  EXPECT_TRUE(first.turnedAway.empty());
  EXPECT_TRUE(second.turnedAway.empty());
}

TEST(UnauthenticatedConnections, turnsEveryoneAwayAndNewcomersAtOnce) {
  UnauthenticatedConnections all(2);
  const Stranger first(all), second(all);
  all.turnAllAway(CloseCode::goingAway);
  EXPECT_EQ(first.turnedAway, std::vector{CloseCode::goingAway});
  EXPECT_EQ(second.turnedAway, std::vector{CloseCode::goingAway});
  const Stranger late(all);
  EXPECT_EQ(late.turnedAway, std::vector{CloseCode::goingAway});
  EXPECT_EQ(all.count(), 0U);
}

}  // namespace
}  // namespace tallyfox::server
