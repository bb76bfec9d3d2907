// The resolver finds what the detector finds.

#include "actions/DialogFocusResolver.hpp"

#include <gtest/gtest.h>

#include "actions/ClickDesktop.hpp"

namespace tallyfox {
namespace {

TEST(DialogFocusResolver, findsTheLiveButtonUntilTheDialogCloses) {
  memory::ClickDesktop world;
  DialogFocusResolver resolver(world.detector);
  const auto resolved = resolver.resolveCurrentButton(world.recorded, "Allow");
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->element, world.desktop.element(world.button("Allow")));
  EXPECT_TRUE(resolver.isPromptStillPresent(world.recorded));
  world.desktop.closeWindow(world.window);
  EXPECT_FALSE(resolver.resolveCurrentButton(world.recorded, "Allow"));
  EXPECT_FALSE(resolver.isPromptStillPresent(world.recorded));
}

}  // namespace
}  // namespace tallyfox
