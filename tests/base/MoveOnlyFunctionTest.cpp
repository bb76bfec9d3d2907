// A function that owns what cannot be copied, is moved whole, and is empty only when it was given nothing.

#include "base/MoveOnlyFunction.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace tallyfox {
namespace {

TEST(MoveOnlyFunction, ownsWhatCannotBeCopied) {
  auto owned = std::make_unique<int>(41);
  MoveOnlyFunction<int(int)> add = [owned = std::move(owned)](int more) { return *owned + more; };
  EXPECT_EQ(add(1), 42);
  MoveOnlyFunction<int(int)> moved = std::move(add);
  EXPECT_EQ(moved(2), 43);
  EXPECT_FALSE(add);  // NOLINT(bugprone-use-after-move): that it is empty is the promise
}

TEST(MoveOnlyFunction, keepsTheStateOfWhatItHolds) {
  MoveOnlyFunction<int()> count = [n = 0]() mutable { return ++n; };
  count();
  EXPECT_EQ(count(), 2);
}

TEST(MoveOnlyFunction, passesReferencesAndMovesArguments) {
  std::string seen;
  MoveOnlyFunction<void(std::unique_ptr<std::string>, std::string&)> tell = [](std::unique_ptr<std::string> text,
                                                                               std::string& place) { place = *text; };
  tell(std::make_unique<std::string>("word"), seen);
  EXPECT_EQ(seen, "word");
}

TEST(MoveOnlyFunction, isEmptyWithoutACallable) {
  EXPECT_FALSE(MoveOnlyFunction<void()>());
  EXPECT_FALSE(MoveOnlyFunction<void()>(nullptr));
  EXPECT_FALSE(MoveOnlyFunction<void()>(std::function<void()>()));
  EXPECT_TRUE(MoveOnlyFunction<void()>([] {}));
}

TEST(MoveOnlyFunction, dropsWhatItHoldsWithItself) {
  auto owned = std::make_shared<int>(1);
  {
    const MoveOnlyFunction<void()> keep = [owned] {};
  }
  EXPECT_EQ(owned.use_count(), 1);
  MoveOnlyFunction<void()> reset = [owned] {};
  reset = nullptr;
  EXPECT_EQ(owned.use_count(), 1);
}

TEST(MoveOnlyFunctionDeathTest, endsTheProcessWhenCalledEmpty) {
  EXPECT_DEATH(MoveOnlyFunction<void()>()(), "an empty function is never called");
}

}  // namespace
}  // namespace tallyfox
