// What the relay reports of a phone, and the status that the agent starts from.

#include "model/RelayConnectionStatus.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

TEST(RelayPhoneStatus, readsAPhoneWithAllItsMembers) {
  const RelayPhoneStatus phone{"device-1", "Ada’s phone", "ios", true};
  EXPECT_EQ(phone.json(),
            (Json{{"deviceID", "device-1"}, {"deviceName", "Ada’s phone"}, {"platform", "ios"}, {"connected", true}}));
  EXPECT_EQ(RelayPhoneStatus::decoded(phone.json()), phone);
}

TEST(RelayPhoneStatus, readsAPhoneWithoutPlatformAndState) {
  const RelayPhoneStatus phone{"device-1", "Ada’s phone", {}, {}};
  EXPECT_EQ(phone.json().size(), 2U);
  EXPECT_EQ(RelayPhoneStatus::decoded(phone.json()), phone);
  EXPECT_EQ(
      RelayPhoneStatus::decoded(
          {{"deviceID", "device-1"}, {"deviceName", "Ada’s phone"}, {"platform", nullptr}, {"connected", nullptr}}),
      phone);
}

TEST(RelayPhoneStatus, refusesAPhoneThatLacksSomethingOrHasWrongTypes) {
  EXPECT_FALSE(RelayPhoneStatus::decoded({{"deviceID", "device-1"}}).has_value());
  EXPECT_FALSE(RelayPhoneStatus::decoded({{"deviceName", "phone"}}).has_value());
  EXPECT_FALSE(RelayPhoneStatus::decoded({{"deviceID", 1}, {"deviceName", "phone"}}).has_value());
  EXPECT_FALSE(RelayPhoneStatus::decoded({{"deviceID", "1"}, {"deviceName", "phone"}, {"platform", 1}}).has_value());
  EXPECT_FALSE(RelayPhoneStatus::decoded({{"deviceID", "1"}, {"deviceName", "phone"}, {"connected", 1}}).has_value());
}

TEST(RelayConnectionStatus, startsDisconnectedAndEmpty) {
  const RelayConnectionStatus status;
  EXPECT_FALSE(status.relayConnected);
  EXPECT_FALSE(status.phoneConnected);
  EXPECT_EQ(status.phoneCount, 0);
  EXPECT_TRUE(status.phones.empty());
}

}  // namespace
}  // namespace tallyfox
