// An X display as the doctor sees it: with and without a window manager, with one that supports little, with a tray.

#include "platform/linux/DisplayExamination.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "desktop/DesktopSession.hpp"
#include "desktop/X11TestClient.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::DesktopSession;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::X11TestClient;

TEST(DisplayExamination, namesTheWindowManager) {
  const DesktopSession session({.accessibility = false});
  X11TestClient(session.display()).awaitWindowManager();
  const auto found = examinedDisplay(session.display());
  ASSERT_TRUE(found.has_value()) << found.error();
  EXPECT_TRUE(found->isManaged);
  EXPECT_EQ(found->windowManager, "Openbox");
  EXPECT_THAT(found->missingHints, IsEmpty());
  EXPECT_TRUE(found->takesSyntheticInput);
  EXPECT_FALSE(found->hasTray);
}

TEST(DisplayExamination, seesWhatIsMissing) {
  const DesktopSession session({.windowManager = false, .accessibility = false});
  const auto bare = examinedDisplay(session.display());
  ASSERT_TRUE(bare.has_value()) << bare.error();
  EXPECT_FALSE(bare->isManaged);
  EXPECT_TRUE(bare->takesSyntheticInput);

  // A manager that left its mark on the root and is gone.
  X11TestClient manager(session.display());
  const auto window = manager.create({});
  manager.setNumbers(manager.root(), "_NET_SUPPORTING_WM_CHECK", "WINDOW", {window});
  manager.synchronize();
  EXPECT_FALSE(examinedDisplay(session.display())->isManaged);

  manager.setNumbers(window, "_NET_SUPPORTING_WM_CHECK", "WINDOW", {window});
  manager.setProperty(window, "_NET_WM_NAME", "UTF8_STRING", 8, "Small");
  manager.setAtom(manager.root(), "_NET_SUPPORTED", "_NET_CLIENT_LIST");
  manager.synchronize();
  const auto small = examinedDisplay(session.display());
  EXPECT_TRUE(small->isManaged);
  EXPECT_EQ(small->windowManager, "Small");
  EXPECT_THAT(small->missingHints, ElementsAre("_NET_CLIENT_LIST_STACKING", "_NET_ACTIVE_WINDOW"));

  manager.ownSelection("_NET_SYSTEM_TRAY_S0", window);
  EXPECT_TRUE(examinedDisplay(session.display())->hasTray);
}

TEST(DisplayExamination, saysThatThereIsNone) {
  EXPECT_EQ(examinedDisplay(std::nullopt).error(), "The variable DISPLAY is not set.");
  EXPECT_EQ(examinedDisplay("").error(), "The variable DISPLAY is not set.");
  EXPECT_EQ(examinedDisplay("127.0.0.1:-1").error(), "The display 127.0.0.1:-1 cannot be opened.");
}

}  // namespace
}  // namespace tallyfox::linux_os
