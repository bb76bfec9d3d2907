// Real windows on a real X server under a real window manager are listed with consistent process, title, frames and
// stacking; the window under a point is the one that a click would reach; and nothing that a program writes into its
// properties, or does by vanishing, disturbs the reading.

#include "platform/linux/X11Desktop.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/Text.hpp"
#include "desktop/DesktopSession.hpp"
#include "desktop/X11TestClient.hpp"
#include "platform/linux/LinuxWindowList.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::DesktopSession;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Optional;
using testing::X11TestClient;

constexpr std::uint32_t half = 0x7FFFFFFF;

class X11DesktopTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::unique_ptr<testing::DesktopProcess> question(const std::string& title) const {
    return session_.start({"zenity", "--question", "--title=" + title, "--text=Go on?"},
                          X11TestClient::withoutAccessibility);
  }
  /// Waits until the manager lists it, mapped.
  [[nodiscard]] XWindow window(const std::string& title) {
    XWindow found;
    const auto isListed = [&] {
      for (const XWindow& each : desktop_->windowsFrontToBack())
        if (each.title == title && each.isMapped) found = each;
      return found.id != 0;
    };
    EXPECT_TRUE(DesktopSession::waitUntil(isListed, X11TestClient::startTime)) << title;
    return found;
  }
  [[nodiscard]] std::optional<XWindow> listed(XWindowID id) {
    for (const XWindow& each : desktop_->windowsFrontToBack())
      if (each.id == id) return each;
    return std::nullopt;
  }
  [[nodiscard]] bool becomesFront(XWindowID id) {
    return DesktopSession::waitUntil([&] {
      const auto windows = desktop_->windowsFrontToBack();
      const auto active = desktop_->activeWindow();
      return !windows.empty() && windows.front().id == id && active && active->id == id;
    });
  }

  DesktopSession session_{{.accessibility = false}};
  std::shared_ptr<X11Desktop> desktop_ = X11Desktop::open(session_.display()).value();
  X11TestClient client_{session_.display()};
};

TEST_F(X11DesktopTest, listsRealWindowsWithProcessTitleClassAndFrames) {
  const auto first = question("First");
  const auto second = question("Zweites Fenster – ✓");
  const XWindow one = window("First");
  const XWindow other = window("Zweites Fenster – ✓");
  EXPECT_THAT(one.processIdentifier, Optional(Eq(first->pid())));
  EXPECT_THAT(other.processIdentifier, Optional(Eq(second->pid())));
  EXPECT_EQ(one.className, "Zenity");
  EXPECT_EQ(one.instanceName, "zenity");
  EXPECT_TRUE(one.isDialogType);
  EXPECT_FALSE(one.isModal);
  EXPECT_FALSE(one.isMinimized);
  EXPECT_TRUE(one.isOnCurrentDesktop);
  EXPECT_EQ(one.layer, 0);
  EXPECT_EQ(one.opacity, 1);
  EXPECT_GE(one.clientFrame.width, 80);
  EXPECT_GE(one.clientFrame.height, 40);
  // The manager's title bar lies above the client area, its border on the other sides.
  EXPECT_LT(one.visibleFrame.y, one.clientFrame.y - 5);
  EXPECT_LE(one.visibleFrame.x, one.clientFrame.x);
  EXPECT_GE(one.visibleFrame.x + one.visibleFrame.width, one.clientFrame.x + one.clientFrame.width);
  EXPECT_GE(one.visibleFrame.y + one.visibleFrame.height, one.clientFrame.y + one.clientFrame.height);
}

TEST_F(X11DesktopTest, agreesWithTheServersOwnToolOnTheClientFrame) {
  const auto process = question("Measured");
  const XWindow measured = window("Measured");
  const std::string output = session_.outputOf({"xwininfo", "-id", std::to_string(measured.id)});
  const auto number = [&](const std::string& label) {
    const auto at = output.find(label);
    return at == std::string::npos ? -1.0 : std::stod(output.substr(at + label.size()));
  };
  EXPECT_EQ(measured.clientFrame, (DialogFrame{number("Absolute upper-left X:"), number("Absolute upper-left Y:"),
                                               number("Width:"), number("Height:")}))
      << output;
}

TEST_F(X11DesktopTest, raisesAndFocusesTheWindowThatIsActivated) {
  const auto first = question("First");
  const XWindow one = window("First");
  const auto second = question("Second");
  const XWindow other = window("Second");
  EXPECT_TRUE(desktop_->activate(one.id));
  EXPECT_TRUE(becomesFront(one.id));
  EXPECT_TRUE(desktop_->activate(other.id));
  EXPECT_TRUE(becomesFront(other.id));
}

TEST_F(X11DesktopTest, minimisesAndRestores) {
  const auto process = question("Small");
  const XWindow small = window("Small");
  EXPECT_TRUE(desktop_->setMinimized(small.id, false)) << "it is not minimised already";
  EXPECT_TRUE(desktop_->setMinimized(small.id, true));
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    const auto now = listed(small.id);
    return now && now->isMinimized && !now->isMapped;
  }));
  LinuxWindowList list(desktop_);
  EXPECT_THAT(list.windows(false), IsEmpty());
  EXPECT_EQ(list.windows(true).size(), 1U);
  EXPECT_TRUE(desktop_->setMinimized(small.id, false));
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    const auto now = listed(small.id);
    return now && !now->isMinimized && now->isMapped;
  }));
}

TEST_F(X11DesktopTest, leavesWindowsOfAnotherDesktopOutOfTheScreenList) {
  const auto process = question("Elsewhere");
  const XWindow elsewhere = window("Elsewhere");
  client_.tellWindowManager(client_.root(), "_NET_CURRENT_DESKTOP", {1, 0, 0, 0, 0});
  LinuxWindowList list(desktop_);
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return list.windows(false).empty(); }));
  EXPECT_EQ(list.windows(true).size(), 1U);
  const auto now = listed(elsewhere.id);
  ASSERT_TRUE(now);
  EXPECT_FALSE(now->isOnCurrentDesktop);
  EXPECT_FALSE(now->isMinimized) << "away is not minimised";
}

TEST_F(X11DesktopTest, findsTheManagedWindowUnderAPointAlsoOnItsTitleBar) {
  const auto process = question("Under");
  const XWindow under = window("Under");
  const auto inside = desktop_->topWindowAt({under.clientFrame.centerX(), under.clientFrame.centerY()});
  ASSERT_TRUE(inside);
  EXPECT_EQ(inside->id, under.id);
  EXPECT_EQ(inside->title, "Under");
  const auto bar = desktop_->topWindowAt({under.clientFrame.centerX(), under.visibleFrame.y + 3});
  ASSERT_TRUE(bar);
  EXPECT_EQ(bar->id, under.id);
  EXPECT_EQ(desktop_->topWindowAt({1, 1}), std::nullopt);
  EXPECT_EQ(desktop_->topWindowAt({-5, 100000}), std::nullopt);
  EXPECT_EQ(desktop_->topWindowAt({std::numeric_limits<double>::quiet_NaN(), 1}), std::nullopt);
}

TEST_F(X11DesktopTest, findsTheUnmanagedWindowThatCoversAManagedOne) {
  const auto process = question("Covered");
  const XWindow covered = window("Covered");
  const AXPoint center{covered.clientFrame.centerX(), covered.clientFrame.centerY()};
  for (const bool takesOnlyInput : {false, true}) {
    const auto cover = client_.open({.x = static_cast<std::int16_t>(center.x - 20),
                                     .y = static_cast<std::int16_t>(center.y - 20),
                                     .width = 40,
                                     .height = 40,
                                     .isUnmanaged = true,
                                     .takesOnlyInput = takesOnlyInput,
                                     .title = "Bubble"});
    const auto top = desktop_->topWindowAt(center);
    ASSERT_TRUE(top);
    EXPECT_EQ(top->id, cover);
    EXPECT_THAT(top->processIdentifier, Optional(Eq(getpid()))) << "as the server knows it";
    EXPECT_EQ(top->title, "");
    EXPECT_EQ(top->layer, 25);
    EXPECT_EQ(desktop_->topWindowAt({center.x, center.y - 30})->id, covered.id);
    EXPECT_EQ(listed(cover), std::nullopt);
    client_.destroy(cover);
    EXPECT_EQ(desktop_->topWindowAt(center)->id, covered.id);
  }
}

TEST_F(X11DesktopTest, asksTheServerForTheProcessThatAWindowDoesNotTell) {
  const auto silent = client_.open({.title = "Silent"});
  EXPECT_THAT(window("Silent").processIdentifier, Optional(Eq(getpid())));
  client_.setNumbers(silent, "_NET_WM_PID", "CARDINAL", {4321});
  EXPECT_THAT(window("Silent").processIdentifier, Optional(Eq(4321)));
  // A process number of another machine says nothing about this one.
  client_.setProperty(silent, "WM_CLIENT_MACHINE", "STRING", 8, "some-other-machine");
  EXPECT_THAT(window("Silent").processIdentifier, Optional(Eq(getpid())));
}

TEST_F(X11DesktopTest, readsTypeStateMarginsAndOpacity) {
  const auto leader = client_.open({.title = "Leader"});
  const auto dialog = client_.create({.x = 100, .y = 100, .width = 400, .height = 300, .title = "Dialog"});
  client_.setNumbers(dialog, "WM_TRANSIENT_FOR", "WINDOW", {leader});
  client_.setAtom(dialog, "_NET_WM_STATE", "_NET_WM_STATE_MODAL");
  client_.setNumbers(dialog, "_NET_WM_WINDOW_OPACITY", "CARDINAL", {half});
  client_.setNumbers(dialog, "_GTK_FRAME_EXTENTS", "CARDINAL", {20, 30, 10, 40});
  client_.setProperty(dialog, "_GTK_APPLICATION_ID", "UTF8_STRING", 8, "org.example.Editor");
  client_.setAtom(dialog, "_MOTIF_WM_HINTS", "NONE");
  client_.show(dialog);
  const XWindow read = window("Dialog");
  EXPECT_TRUE(read.isDialogType);
  EXPECT_TRUE(read.isModal);
  EXPECT_THAT(read.transientFor, Optional(Eq(leader)));
  EXPECT_NEAR(read.opacity, 0.5, 1e-6);
  EXPECT_EQ(read.applicationID, "org.example.Editor");
  EXPECT_EQ(read.visibleFrame.x + read.visibleFrame.width,
            window("Leader").visibleFrame.width - window("Leader").clientFrame.width -
                (window("Leader").clientFrame.x - window("Leader").visibleFrame.x) + read.clientFrame.x +
                read.clientFrame.width - 30);
}

TEST_F(X11DesktopTest, survivesEveryMalformedProperty) {
  const auto broken = client_.create({.title = "x"});
  const std::string garbage = "\xFF\xFE\x01";
  const std::vector<std::string> properties = {"_NET_WM_PID",
                                               "WM_CLIENT_MACHINE",
                                               "WM_NAME",
                                               "WM_CLASS",
                                               "_GTK_APPLICATION_ID",
                                               "WM_STATE",
                                               "_NET_WM_WINDOW_TYPE",
                                               "_NET_WM_STATE",
                                               "WM_TRANSIENT_FOR",
                                               "_KDE_NET_WM_DESKTOP_FILE",
                                               "_NET_WM_DESKTOP",
                                               "_NET_FRAME_EXTENTS",
                                               "_GTK_FRAME_EXTENTS",
                                               "_NET_WM_WINDOW_OPACITY",
                                               "_NET_WM_NAME"};
  client_.show(broken);
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return listed(broken).has_value(); }));
  const DialogFrame frame = listed(broken)->clientFrame;
  const std::vector<std::uint32_t> huge(2000, 0xFFFFFFFF);
  for (const std::string& property : properties) {
    SCOPED_TRACE(property);
    client_.setProperty(broken, property, "STRING", 8, garbage);
    EXPECT_TRUE(listed(broken));
    client_.setProperty(broken, property, "CARDINAL", 16, "ab");
    EXPECT_TRUE(listed(broken));
    client_.setProperty(broken, property, "UTF8_STRING", 8, "");
    EXPECT_TRUE(listed(broken));
    client_.setNumbers(broken, property, "CARDINAL", huge);
    const auto now = listed(broken);
    ASSERT_TRUE(now);
    EXPECT_TRUE(isValidUtf8(now->title));
    EXPECT_TRUE(isValidUtf8(now->className));
    EXPECT_TRUE(isValidUtf8(now->applicationID));
    EXPECT_EQ(now->clientFrame, frame);
    EXPECT_GT(now->visibleFrame.width, 0);
    EXPECT_LT(now->visibleFrame.width, 3000);
    EXPECT_TRUE(!now->processIdentifier || *now->processIdentifier > 0);
    EXPECT_GE(now->opacity, 0);
    EXPECT_LE(now->opacity, 1);
  }
}

TEST_F(X11DesktopTest, readsNoMoreThanTheBeginningOfAnEndlessTitle) {
  const auto endless = client_.open({.title = std::string(1'000'000, 'a')});
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return listed(endless).has_value(); }));
  EXPECT_EQ(listed(endless)->title, std::string(4096, 'a'));
}

TEST_F(X11DesktopTest, doesNotActOnWindowsThatVanishedOrAreNotManaged) {
  const auto gone = client_.open({.title = "Gone"});
  (void)window("Gone");
  const auto child = client_.createChild(gone);
  EXPECT_FALSE(desktop_->activate(child));
  EXPECT_FALSE(desktop_->setMinimized(child, true));
  client_.destroy(gone);
  EXPECT_FALSE(desktop_->activate(gone));
  EXPECT_FALSE(desktop_->setMinimized(gone, true));
  EXPECT_FALSE(desktop_->activate(0));
  EXPECT_EQ(listed(gone), std::nullopt) << "also before the manager took it off its list";
}

TEST_F(X11DesktopTest, knowsTheProcessesThatUseTheDisplay) {
  const auto process = question("Client");
  (void)window("Client");
  EXPECT_THAT(desktop_->clientProcessIdentifiers(),
              ::testing::AllOf(::testing::Contains(getpid()), ::testing::Contains(process->pid())));
}

TEST(X11DesktopWithoutManager, listsShownWindowsAndCannotActivate) {
  DesktopSession session({.windowManager = false, .accessibility = false});
  const auto desktop = X11Desktop::open(session.display()).value();
  X11TestClient client(session.display());
  const auto shown = client.open({.x = 50, .y = 60, .width = 300, .height = 200, .title = "Bare"});
  (void)client.create({.title = "Hidden"});
  (void)client.open({.isUnmanaged = true, .title = "Menu"});
  const auto windows = desktop->windowsFrontToBack();
  ASSERT_EQ(windows.size(), 1U);
  EXPECT_EQ(windows[0].id, shown);
  EXPECT_EQ(windows[0].title, "Bare");
  EXPECT_EQ(windows[0].clientFrame, (DialogFrame{50, 60, 300, 200}));
  EXPECT_EQ(windows[0].visibleFrame, windows[0].clientFrame);
  EXPECT_FALSE(desktop->activate(shown));
  EXPECT_FALSE(desktop->setMinimized(shown, true));
  EXPECT_FALSE(desktop->activeWindow());
}

TEST(X11DesktopWithoutServer, isNotOpened) {
  EXPECT_EQ(X11Desktop::open(std::nullopt).error(), "There is no X display: DISPLAY is not set.");
  EXPECT_EQ(X11Desktop::open("").error(), "There is no X display: DISPLAY is not set.");
  EXPECT_EQ(X11Desktop::open(":98765").error(), "The X display :98765 does not answer.");
}

TEST(X11DesktopWithoutServer, answersNothing) {
  auto session =
      std::make_unique<DesktopSession>(DesktopSession::Options{.windowManager = false, .accessibility = false});
  const auto lost = X11Desktop::open(session->display()).value();
  EXPECT_TRUE(lost->isAlive());
  session.reset();
  for (const auto& desktop : {lost, X11Desktop::withoutDisplay()}) {
    EXPECT_THAT(desktop->windowsFrontToBack(), IsEmpty());
    EXPECT_FALSE(desktop->activeWindow());
    EXPECT_FALSE(desktop->topWindowAt({1, 1}));
    EXPECT_FALSE(desktop->activate(1));
    EXPECT_FALSE(desktop->setMinimized(1, true));
    EXPECT_THAT(desktop->clientProcessIdentifiers(), IsEmpty());
    EXPECT_FALSE(desktop->isAlive());
    EXPECT_THAT(LinuxWindowList(desktop).windows(true), IsEmpty());
  }
}

class X11WindowListTest : public X11DesktopTest {};

TEST_F(X11WindowListTest, tellsOwnerNameLayerBoundsAndAlpha) {
  const auto process = question("Listed");
  const XWindow listedWindow = window("Listed");
  const auto panel = client_.create({.title = "Panel"});
  client_.setAtom(panel, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DOCK");
  client_.show(panel);
  const auto faint = client_.create({.title = "Faint"});
  client_.setNumbers(faint, "_NET_WM_WINDOW_OPACITY", "CARDINAL", {0});
  client_.show(faint);
  (void)window("Panel");
  (void)window("Faint");
  std::map<std::string, WindowInfo> infos;
  LinuxWindowList list(desktop_);
  for (const WindowInfo& info : list.windows(false))
    infos[info.name.value_or("")] = info;
  EXPECT_EQ(infos["Listed"], (WindowInfo{.ownerProcessIdentifier = process->pid(),
                                         .ownerName = "Zenity",
                                         .name = "Listed",
                                         .layer = 0,
                                         .bounds = listedWindow.visibleFrame,
                                         .alpha = 1}));
  EXPECT_THAT(infos["Panel"].layer, Optional(Eq(20)));
  EXPECT_THAT(infos["Panel"].ownerName, Optional(::testing::StartsWith("test_desktop")))
      << "the process, without a class";
  EXPECT_THAT(infos["Faint"].alpha, Optional(Eq(0)));
}

}  // namespace
}  // namespace tallyfox::linux_os
