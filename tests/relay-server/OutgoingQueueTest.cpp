// The queue of one peer: first in, first out, and never above either bound.
#include "OutgoingQueue.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"

namespace tallyfox::server {
namespace {

using testing::frameOf;

TEST(OutgoingQueue, givesFramesInTheOrderInWhichTheyCame) {
  OutgoingQueue queue(100, 10);
  EXPECT_TRUE(queue.push(frameOf("a")));
  EXPECT_TRUE(queue.push(frameOf("b")));
  EXPECT_EQ(*queue.pop(), "a");
  EXPECT_EQ(*queue.pop(), "b");
  EXPECT_EQ(queue.pop(), nullptr);
}

TEST(OutgoingQueue, refusesAFrameAboveTheNumberOfFrames) {
  OutgoingQueue queue(100, 2);
  EXPECT_TRUE(queue.push(frameOf("")));
  EXPECT_TRUE(queue.push(frameOf("")));
  EXPECT_FALSE(queue.push(frameOf("")));
  EXPECT_NE(queue.pop(), nullptr);
  EXPECT_TRUE(queue.push(frameOf("")));
}

TEST(OutgoingQueue, refusesAFrameAboveTheNumberOfBytes) {
  OutgoingQueue queue(10, 100);
  EXPECT_FALSE(queue.push(frameOf(std::string(11, 'x'))));
  EXPECT_TRUE(queue.push(frameOf(std::string(10, 'x'))));
  EXPECT_FALSE(queue.push(frameOf("x")));
  EXPECT_NE(queue.pop(), nullptr);
  EXPECT_TRUE(queue.push(frameOf("x")));
}

TEST(OutgoingQueue, clearingMakesRoomForEverythingAgain) {
  OutgoingQueue queue(10, 1);
  EXPECT_TRUE(queue.push(frameOf(std::string(10, 'x'))));
  queue.clear();
  EXPECT_TRUE(queue.empty());
  EXPECT_TRUE(queue.push(frameOf(std::string(10, 'y'))));
}

}  // namespace
}  // namespace tallyfox::server
