// A diagnostic is one line: a fixed prefix and JSON with sorted keys that says what was seen and why it was taken or
// left.

#include "detection/WindowDebugSnapshot.hpp"

#include <gtest/gtest.h>

#include "detection/DetectorDesktop.hpp"

namespace tallyfox {
namespace {

struct WindowDebugSnapshotTest : testing::Test {
  memory::DetectorDesktop world;
  std::int32_t pid = world.desktop.launch("Notes", "org.notes");

  WindowDebugSnapshot snapshot(const memory::ElementSpec& window, std::optional<std::string> bundle) {
    const AXUIElement element = world.desktop.element(world.desktop.openWindow(pid, window));
    const PromptReader reader(AXHelpers(world.desktop.accessibility(), world.desktop.elements()));
    return WindowDebugSnapshot::of({element, "Notes", std::move(bundle), pid},
                                   reader.read(element, reader.contentElement(element)));
  }
};

TEST_F(WindowDebugSnapshotTest, tellsOfAnAcceptedWindow) {
  const WindowDebugSnapshot made = snapshot(memory::accessPrompt(), "org.notes");
  EXPECT_EQ(made, (WindowDebugSnapshot{"Notes",
                                       "org.notes",
                                       pid,
                                       "AXWindow",
                                       "AXDialog",
                                       "Access",
                                       {400, 300, 420, 180},
                                       true,
                                       20,
                                       true,
                                       std::nullopt,
                                       {"Notes would like to access your contacts."},
                                       {"Don’t Allow", "Allow"}}));
}

TEST_F(WindowDebugSnapshotTest, keepsTheFieldOrderAndLeavesOutWhatIsAbsent) {
  std::vector<std::string> keys;
  const Json rejected = snapshot(memory::spec(ax_role::window, "Document"), "org.notes").json();
  for (const auto& item : rejected.items())
    keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{"appName", "bundleIdentifier", "processIdentifier", "role", "subrole",
                                            "title", "windowFrame", "isModal", "promptScore", "accepted",
                                            "rejectionReason", "messageLines", "buttonLabels"}));
  const Json accepted = snapshot(memory::accessPrompt(), std::nullopt).json();
  EXPECT_FALSE(accepted.contains("bundleIdentifier"));
  EXPECT_FALSE(accepted.contains("rejectionReason"));
}

TEST_F(WindowDebugSnapshotTest, printsOneLineWithSortedKeys) {
  const std::string line =
      snapshot(memory::spec(ax_role::window, "Two\nlines", DialogFrame{1, 2, 3, 4}), std::nullopt).line();
  const std::string prefix = "Tallyfox dialog diagnostic: ";
  ASSERT_TRUE(line.starts_with(prefix));
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const Json json = Json::parse(line.substr(prefix.size()));
  const auto keysOf = [](const Json& object) {
    std::vector<std::string> keys;
    for (const auto& item : object.items())
      keys.push_back(item.key());
    return keys;
  };
  EXPECT_TRUE(std::ranges::is_sorted(keysOf(json)));
  EXPECT_EQ(keysOf(json["windowFrame"]), (std::vector<std::string>{"height", "width", "x", "y"}));
  EXPECT_EQ(json["title"], "Two\nlines");
  EXPECT_EQ(json["rejectionReason"], "No actionable buttons exposed through Accessibility.");
}

TEST_F(WindowDebugSnapshotTest, showsAnUnreadableFrameAsZero) {
  EXPECT_EQ(snapshot(memory::spec(ax_role::window, "Document"), std::nullopt).windowFrame, DialogFrame{});
}

}  // namespace
}  // namespace tallyfox
