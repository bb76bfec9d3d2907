// Looking does not touch: of all calls of the accessibility bus only those are made that no toolkit is known to crash
// or freeze at, by a scan, a press, a look at a point and a question for the focus; and nobody is registered with as a
// listener.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <set>
#include <string>

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/BusMonitor.hpp"
#include "desktop/Scanner.hpp"
#include "desktop/X11EventLoop.hpp"
#include "platform/linux/AtspiEventSource.hpp"
#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::testing {
namespace {

/// Missing here for good reason: GetAll of Accessible ends Qt programs, GetItems of Cache freezes large ones for
/// seconds, RegisterEvent makes every key press of every program wait for the registry, GetApplicationBusAddress does
/// so for one program (browsers get it, for they have no other way to tell).
const std::set<std::string> harmless = {
    "GetChildren",
    "GetChildAtIndex",
    "GetRole",
    "GetState",
    "Get Name",
    "Get Description",
    "Get Parent",
    "Get ChildCount",
    "GetText",
    "GetExtents",
    "DoAction",
    "GetName",
    "Get NActions",
    "GrabFocus",
    "GetMatches",
    "GetAccessibleAtPoint",
    "Ping",
    "Hello",
    "AddMatch",
    "Get ToolkitName",
    "GetConnectionUnixProcessID",
};

class AccessibilityMannersTest : public AccessibilityFixture {
 protected:
  [[nodiscard]] std::string busAddress() const {
    return linux_os::SessionStatus(session.sessionBusAddress()).accessibilityBusAddress().value();
  }
  void lookAndPress(const DesktopProcess& program, const std::string& label) {
    const auto window = windowOf(program);
    ASSERT_TRUE(window);
    Scanner scanner(session);
    EXPECT_TRUE(DesktopSession::waitUntil([&] { return !scanner.scan().empty(); }));
    (void)helpers.focusedElement();
    (void)helpers.elementAttribute(*window, AXAttribute::defaultButton);
    const auto found = button(*window, label);
    ASSERT_TRUE(found);
    const auto frame = helpers.frame(*found);
    ASSERT_TRUE(frame);
    (void)accessibility.elementAtPosition({.x = frame->centerX(), .y = frame->centerY()});
    (void)accessibility.setAttribute(*found, AXAttribute::focused, true);
    (void)helpers.actionNames(*found);
    EXPECT_TRUE(accessibility.performAction(*found, ax_action::press));
  }
  void expectHarmless(BusMonitor& monitor) {
    const std::set<std::string> own = monitor.namesOf(getpid());
    std::set<std::string> made;
    for (const BusMessage& message : monitor.take()) {
      if (message.kind == BusMessage::Kind::call && own.contains(message.sender)) made.insert(message.member);
    }
    EXPECT_THAT(made, ::testing::IsSupersetOf({"GetRole", "DoAction"})) << "nothing was heard";
    for (const std::string& member : made)
      EXPECT_TRUE(harmless.contains(member)) << member;
  }
};

TEST_F(AccessibilityMannersTest, asksOfGtkProgramsOnlyWhatIsHarmless) {
  BusMonitor monitor(busAddress());
  X11EventLoop loop;
  std::unique_ptr<linux_os::AtspiEventSource> events;
  loop.sync([&] { events = std::make_unique<linux_os::AtspiEventSource>(session.sessionBusAddress(), loop); });
  const auto zenity = question("Delete the file?");
  lookAndPress(*zenity, "Erase");
  EXPECT_EQ(zenity->waitForExit(), 0);
  expectHarmless(monitor);
  loop.sync([&] { events.reset(); });
}

#ifdef TALLYFOX_MESSAGE_BOX
TEST_F(AccessibilityMannersTest, asksOfQtProgramsOnlyWhatIsHarmless) {
  BusMonitor monitor(busAddress());
  const auto box = session.start({TALLYFOX_MESSAGE_BOX, "Delete the file?", "Delete", "Cancel"});
  lookAndPress(*box, "Delete");
  EXPECT_EQ(box->waitForExit(), 0);
  expectHarmless(monitor);
}
#endif

}  // namespace
}  // namespace tallyfox::testing
