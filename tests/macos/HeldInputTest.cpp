#include "platform/macos/HeldInput.hpp"

#include <gtest/gtest.h>

namespace tallyfox::mac_os {
namespace {

constexpr int space = 49;
constexpr HeldInput::Receiver dialog{.processIdentifier = 7, .window = 21};
constexpr HeldInput::Receiver hardware{};

TEST(HeldInput, releasesWhereItPressed) {
  HeldInput held;
  held.press(HeldInput::mouseButton, dialog);
  EXPECT_EQ(held.release(HeldInput::mouseButton, 7), dialog);
  held.press(space, hardware);
  EXPECT_EQ(held.release(space, 0), hardware);
}

TEST(HeldInput, releasesNothingThatWasNotPressed) {
  HeldInput held;
  EXPECT_EQ(held.release(space, 0), std::nullopt);
  held.press(space, hardware);
  EXPECT_EQ(held.release(HeldInput::mouseButton, 0), std::nullopt);
  EXPECT_NE(held.release(space, 0), std::nullopt);
  EXPECT_EQ(held.release(space, 0), std::nullopt);
}

TEST(HeldInput, keepsAReleaseFromWhoDidNotGetThePress) {
  HeldInput held;
  held.press(HeldInput::mouseButton, dialog);
  EXPECT_EQ(held.release(HeldInput::mouseButton, 8), std::nullopt);
  EXPECT_EQ(held.release(HeldInput::mouseButton, 0), std::nullopt);
  EXPECT_EQ(held.release(HeldInput::mouseButton, 7), dialog);
}

TEST(HeldInput, followsTheLastPress) {
  HeldInput held;
  held.press(space, dialog);
  held.press(space, hardware);
  EXPECT_EQ(held.release(space, 7), std::nullopt);
  EXPECT_EQ(held.release(space, 0), hardware);
}

}  // namespace
}  // namespace tallyfox::mac_os
