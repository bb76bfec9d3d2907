// Guarded callbacks run while their owner lives and do nothing afterwards.

#include "base/Lifetime.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace tallyfox {
namespace {

TEST(Lifetime, letsGuardedCallbacksThroughWhileTheOwnerLives) {
  int sum = 0;
  const Lifetime lifetime;
  auto add = lifetime.guard([&sum](int a, int b) { sum += a + b; });
  add(1, 2);
  add(3, 4);
  EXPECT_EQ(sum, 10);
}

TEST(Lifetime, silencesGuardedCallbacksWithTheOwner) {
  int calls = 0;
  std::optional<Lifetime> lifetime(std::in_place);
  auto count = lifetime->guard([&calls] { ++calls; });
  auto copy = count;
  count();
  lifetime.reset();
  count();
  copy();
  EXPECT_EQ(calls, 1);
}

TEST(Lifetime, passesMoveOnlyArguments) {
  const Lifetime lifetime;
  std::unique_ptr<int> kept;
  auto keep = lifetime.guard([&kept](std::unique_ptr<int> value) { kept = std::move(value); });
  keep(std::make_unique<int>(7));
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(*kept, 7);
}

}  // namespace
}  // namespace tallyfox
