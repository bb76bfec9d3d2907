// Every release goes where its press went, and nowhere without one.

#include "platform/macos/HeldInput.hpp"

#include <gtest/gtest.h>

namespace tallyfox::mac_os {
namespace {

constexpr int space = 49;
constexpr std::int32_t dialog = 7;

TEST(HeldInput, releasesWhereItPressed) {
  HeldInput held;
  held.press(HeldInput::mouseButton, dialog);
  EXPECT_TRUE(held.release(HeldInput::mouseButton, dialog));
  held.press(space, HeldInput::anyProcess);
  EXPECT_TRUE(held.release(space, HeldInput::anyProcess));
}

TEST(HeldInput, releasesNothingThatWasNotPressed) {
  HeldInput held;
  EXPECT_FALSE(held.release(space, HeldInput::anyProcess));
  held.press(space, HeldInput::anyProcess);
  EXPECT_FALSE(held.release(HeldInput::mouseButton, HeldInput::anyProcess));
  EXPECT_TRUE(held.release(space, HeldInput::anyProcess));
  EXPECT_FALSE(held.release(space, HeldInput::anyProcess)) << "once is enough";
}

TEST(HeldInput, keepsAReleaseFromWhoDidNotGetThePress) {
  HeldInput held;
  held.press(HeldInput::mouseButton, dialog);
  EXPECT_FALSE(held.release(HeldInput::mouseButton, 8));
  EXPECT_FALSE(held.release(HeldInput::mouseButton, HeldInput::anyProcess));
  EXPECT_TRUE(held.release(HeldInput::mouseButton, dialog));
}

TEST(HeldInput, followsTheLastPress) {
  HeldInput held;
  held.press(space, dialog);
  held.press(space, HeldInput::anyProcess);
  EXPECT_FALSE(held.release(space, dialog));
  EXPECT_TRUE(held.release(space, HeldInput::anyProcess));
}

}  // namespace
}  // namespace tallyfox::mac_os
