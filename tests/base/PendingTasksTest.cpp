// Tasks leave in the order they came, one by one; the one that ends the waiting says so, and closing drops the rest
// without running them and without standing in the way of what they do when they go.

#include "base/PendingTasks.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tallyfox {
namespace {

TEST(PendingTasks, leaveInTheOrderTheyCame) {
  PendingTasks tasks;
  std::string order;
  for (const char mark : {'a', 'b', 'c'})
    tasks.push([&order, mark] { order += mark; });
  while (auto task = tasks.take())
    (*task)();
  EXPECT_EQ(order, "abc");
  EXPECT_TRUE(tasks.isEmpty());
  EXPECT_FALSE(tasks.take().has_value());
}

TEST(PendingTasks, sayWhichOneEndsAnEmptyWait) {
  PendingTasks tasks;
  EXPECT_TRUE(tasks.push([] {}));
  EXPECT_FALSE(tasks.push([] {}));
  EXPECT_TRUE(tasks.take().has_value());
  EXPECT_FALSE(tasks.push([] {})) << "one still waits";
  EXPECT_TRUE(tasks.take().has_value());
  EXPECT_TRUE(tasks.take().has_value());
  EXPECT_TRUE(tasks.push([] {}));
}

TEST(PendingTasks, waitNoLongerOnceTaken) {
  PendingTasks tasks;
  std::string order;
  tasks.push([&] {
    EXPECT_TRUE(tasks.isEmpty());
    order += 'a';
    EXPECT_TRUE(tasks.push([&order] { order += 'b'; }));
    (*tasks.take())();
  });
  (*tasks.take())();
  EXPECT_EQ(order, "ab");
}

TEST(PendingTasks, areDroppedWithWhatTheyHold) {
  PendingTasks tasks;
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> captured = held;
  tasks.push([held = std::move(held)] { FAIL(); });
  EXPECT_FALSE(tasks.isClosed());
  tasks.close();
  EXPECT_TRUE(tasks.isClosed());
  EXPECT_TRUE(captured.expired());
  EXPECT_TRUE(tasks.isEmpty());
}

TEST(PendingTasks, areDroppedAtOnceOnceClosed) {
  PendingTasks tasks;
  tasks.close();
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> captured = held;
  EXPECT_FALSE(tasks.push([held = std::move(held)] { FAIL(); }));
  EXPECT_TRUE(captured.expired());
  EXPECT_FALSE(tasks.take().has_value());
}

/// Posts a last task when it goes.
struct Mourner {
  explicit Mourner(PendingTasks& owner) : tasks(owner) {}
  ~Mourner() {
    tasks.push([] { FAIL(); });
  }
  PendingTasks& tasks;
};

TEST(PendingTasks, mayPostWhenTheyAreDropped) {
  PendingTasks tasks;
  tasks.push([mourner = std::make_unique<Mourner>(tasks)] { FAIL(); });
  tasks.close();
  tasks.push([mourner = std::make_unique<Mourner>(tasks)] { FAIL(); });
  EXPECT_TRUE(tasks.isEmpty());
}

TEST(PendingTasks, comeFromManyThreadsEachInItsOwnOrder) {
  PendingTasks tasks;
  constexpr int count = 500;
  std::vector<std::vector<int>> seen(3);
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < seen.size(); ++number)
    threads.emplace_back([&tasks, &own = seen[number]] {
      for (int step = 0; step < count; ++step)
        tasks.push([&own, step] { own.push_back(step); });
    });
  for (std::thread& thread : threads)
    thread.join();
  while (auto task = tasks.take())
    (*task)();
  for (const std::vector<int>& own : seen) {
    ASSERT_EQ(own.size(), static_cast<std::size_t>(count));
    for (int step = 0; step < count; ++step)
      EXPECT_EQ(own[static_cast<std::size_t>(step)], step);
  }
}

}  // namespace
}  // namespace tallyfox
