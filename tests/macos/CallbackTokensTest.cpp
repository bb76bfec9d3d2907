// Shows that a token names its object while that lives and is registered, and nobody afterwards.

#include "platform/macos/CallbackTokens.hpp"

#include <gtest/gtest.h>

#include <memory>

namespace tallyfox::mac_os {
namespace {

TEST(CallbackTokensTest, namesItsObject) {
  CallbackTokens<int> tokens;
  const auto one = std::make_shared<int>(1);
  const auto two = std::make_shared<int>(2);
  void* const ofOne = tokens.add(one);
  void* const ofTwo = tokens.add(two);
  EXPECT_NE(ofOne, nullptr);
  EXPECT_EQ(tokens.find(ofOne), one);
  EXPECT_EQ(tokens.find(ofTwo), two);
}

TEST(CallbackTokensTest, namesNobodyOnceRemovedOrGone) {
  CallbackTokens<int> tokens;
  auto object = std::make_shared<int>(1);
  void* const removed = tokens.add(object);
  void* const gone = tokens.add(object);
  tokens.remove(removed);
  EXPECT_EQ(tokens.find(removed), nullptr);
  EXPECT_EQ(tokens.find(gone), object);
  object.reset();
  EXPECT_EQ(tokens.find(gone), nullptr);
  EXPECT_EQ(tokens.find(nullptr), nullptr);
}

TEST(CallbackTokensTest, givesNoTokenTwice) {
  CallbackTokens<int> tokens;
  const auto object = std::make_shared<int>(1);
  void* const first = tokens.add(object);
  tokens.remove(first);
  EXPECT_NE(tokens.add(object), first);
  EXPECT_EQ(tokens.find(first), nullptr);
}

}  // namespace
}  // namespace tallyfox::mac_os
