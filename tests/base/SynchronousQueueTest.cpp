// The private queue of a store lets one operation in at a time and hands its result back.

#include "base/SynchronousQueue.hpp"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace tallyfox {
namespace {

TEST(SynchronousQueue, handsBackResultsAndReferences) {
  const SynchronousQueue queue("store");
  int value = 1;
  EXPECT_EQ(queue.sync([&] { return value + 1; }), 2);
  queue.sync([&]() -> int& { return value; }) = 5;
  EXPECT_EQ(value, 5);
  EXPECT_EQ(queue.label(), "store");
}

TEST(SynchronousQueue, letsOneOperationInAtATime) {
  const SynchronousQueue queue("store");
  int count = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int turn = 0; turn < 10'000; ++turn)
        queue.sync([&] { ++count; });
    });
  }
  threads.clear();
  EXPECT_EQ(count, 40'000);
}

}  // namespace
}  // namespace tallyfox
