// What happens to windows is told as it happens, by the X server alone; what does not matter wakes nobody; and the
// accessibility notifications made of it go to those who asked for them.

#include "platform/linux/X11EventSource.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/X11EventLoop.hpp"
#include "desktop/X11TestClient.hpp"
#include "platform/linux/LinuxAccessibilityObservers.hpp"

namespace tallyfox::linux_os {
namespace {

using enum X11ChangeKind;
using testing::DesktopSession;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::X11EventLoop;
using testing::X11Record;
using testing::X11TestClient;

class X11EventSourceTest : public ::testing::Test {
 protected:
  X11EventSourceTest() {
    client_.awaitWindowManager();
    loop_.sync([this] {
      source_ = std::make_unique<X11EventSource>(session_->display(), loop_, loop_.queue());
      subscription_ = source_->subscribe([this](const X11Change& change) { changes_.add(change); });
    });
  }
  ~X11EventSourceTest() override {
    loop_.sync([this] {
      subscription_.reset();
      source_.reset();
    });
  }

  /// Opens a window of the test's own process and waits until all that follows from it is told.
  xcb_window_t openSettled(const std::string& title) {
    const auto window = client_.open({.width = 200, .height = 100, .title = title});
    EXPECT_TRUE(changes_.gets({windowActivated, getpid()})) << title;
    settle();
    return window;
  }
  /// Waits until nothing more is told, and forgets what was.
  void settle() {
    std::size_t told = 0;
    EXPECT_TRUE(DesktopSession::waitUntil([&] {
      told = changes_.entries().size();
      (void)DesktopSession::waitUntil([] { return false; }, Seconds(0.3));
      return changes_.entries().size() == told;
    }));
    changes_.clear();
  }

  std::unique_ptr<DesktopSession> session_ =
      std::make_unique<DesktopSession>(DesktopSession::Options{.accessibility = false});
  X11TestClient client_{session_->display()};
  X11EventLoop loop_;
  X11Record<X11Change> changes_;
  std::unique_ptr<X11EventSource> source_;
  std::unique_ptr<Subscription> subscription_;
};

TEST_F(X11EventSourceTest, tellsARealDialogOpenedActivatedAndClosed) {
  auto dialog =
      session_->start({"zenity", "--question", "--title=Go on?", "--text=Go on?"}, X11TestClient::withoutAccessibility);
  const auto pid = dialog->pid();
  EXPECT_TRUE(changes_.gets({windowActivated, pid}));
  EXPECT_TRUE(changes_.has({windowOpened, pid}));
  EXPECT_TRUE(changes_.has({applicationActivated, pid}));
  dialog.reset();
  EXPECT_TRUE(changes_.gets({windowClosed, pid}));
}

TEST_F(X11EventSourceTest, tellsANewTitleOnce) {
  const auto window = openSettled("Before");
  client_.setTitle(window, "After");
  EXPECT_TRUE(changes_.gets({titleChanged, getpid()}));
  client_.setTitle(window, "After");
  client_.setTitle(window, "Last");
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return changes_.entries().size() >= 2; }));
  EXPECT_THAT(changes_.entries(), ElementsAre(X11Change{titleChanged, getpid()}, X11Change{titleChanged, getpid()}));
}

TEST_F(X11EventSourceTest, tellsMinimisingAndRestoring) {
  const auto window = openSettled("Small");
  const auto desktop = X11Desktop::open(session_->display()).value();
  EXPECT_TRUE(desktop->setMinimized(window, true));
  EXPECT_TRUE(changes_.gets({applicationHidden, getpid()}));
  EXPECT_TRUE(changes_.has({windowMinimized, getpid()}));
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return desktop->setMinimized(window, false); }));
  EXPECT_TRUE(changes_.gets({applicationShown, getpid()}));
  EXPECT_TRUE(changes_.has({windowRestored, getpid()}));
}

TEST_F(X11EventSourceTest, tellsAnotherDesktop) {
  client_.tellWindowManager(client_.root(), "_NET_CURRENT_DESKTOP", {1, 0, 0, 0, 0});
  EXPECT_TRUE(changes_.gets({currentDesktopChanged, 0}));
}

TEST_F(X11EventSourceTest, sleepsWhileAnUnmanagedWindowMovesAndAManagedOneDraws) {
  const auto window = openSettled("Busy");
  const auto bubble = client_.open({.isUnmanaged = true});
  const int before = loop_.wakeUps();
  for (std::int16_t step = 0; step < 100; ++step) {
    client_.move(window, static_cast<std::int16_t>(10 + step), 20);
    client_.move(bubble, static_cast<std::int16_t>(300 + step), 20);
  }
  (void)DesktopSession::waitUntil([] { return false; }, Seconds(0.3));
  EXPECT_EQ(loop_.wakeUps(), before);
  EXPECT_THAT(changes_.entries(), IsEmpty());
}

TEST_F(X11EventSourceTest, tellsNothingAfterTheSubscriptionEnded) {
  X11Record<X11Change> others;
  std::unique_ptr<Subscription> other;
  loop_.sync([&] {
    other = source_->subscribe([&](const X11Change& change) { others.add(change); });
    subscription_.reset();
  });
  client_.tellWindowManager(client_.root(), "_NET_CURRENT_DESKTOP", {1, 0, 0, 0, 0});
  EXPECT_TRUE(others.gets({currentDesktopChanged, 0}));
  EXPECT_THAT(changes_.entries(), IsEmpty());
  loop_.sync([&] { other.reset(); });
}

TEST_F(X11EventSourceTest, fallsSilentAndStopsLookingWhenTheServerIsGone) {
  (void)openSettled("Last");
  session_.reset();
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    const int before = loop_.wakeUps();
    (void)DesktopSession::waitUntil([] { return false; }, Seconds(0.1));
    return loop_.wakeUps() == before;
  }));
}

TEST(X11EventSourceWithoutDisplay, tellsNothing) {
  X11EventLoop loop;
  loop.sync([&] {
    X11EventSource source(std::nullopt, loop, loop.queue());
    const auto subscription = source.subscribe([](const X11Change&) { ADD_FAILURE(); });
    EXPECT_EQ(source.state(), X11DesktopState{});
  });
}

class X11ObserversTest : public X11EventSourceTest {
 protected:
  void observe(std::int32_t pid, const std::vector<std::string>& notifications) {
    loop_.sync([&] {
      auto observation = observers().observe(pid, notifications, [this](const std::string& name) { told_.add(name); });
      ASSERT_TRUE(observation);
      observations_.push_back(std::move(*observation));
    });
  }
  X11ObserversTest() {
    loop_.sync([this] { contents_ = std::make_unique<AtspiEventSource>(session_->sessionBusAddress(), loop_); });
  }
  ~X11ObserversTest() override {
    loop_.sync([this] {
      observations_.clear();
      contents_.reset();
    });
  }
  [[nodiscard]] LinuxAccessibilityObservers observers() {
    return {*source_, *contents_, [this](std::function<void()> onChange) {
              trustChange_ = std::move(onChange);
              return std::unique_ptr<Subscription>();
            }};
  }

  std::unique_ptr<AtspiEventSource> contents_;
  X11Record<std::string> told_;
  std::vector<std::unique_ptr<Subscription>> observations_;
  std::function<void()> trustChange_;
};

TEST_F(X11ObserversTest, namesEveryKindOfEventInTheLanguageOfAccessibility) {
  observe(getpid(), {"AXWindowCreated", "AXSheetCreated", "AXMainWindowChanged", "AXFocusedWindowChanged",
                     "AXApplicationActivated", "AXTitleChanged", "AXWindowMiniaturized", "AXWindowDeminiaturized",
                     "AXUIElementDestroyed"});
  const auto window = client_.open({.title = "One"});
  EXPECT_TRUE(told_.gets("AXFocusedWindowChanged"));
  EXPECT_THAT(told_.entries(),
              ::testing::IsSupersetOf({"AXWindowCreated", "AXApplicationActivated", "AXMainWindowChanged"}));
  client_.setTitle(window, "Two");
  EXPECT_TRUE(told_.gets("AXTitleChanged"));
  const auto desktop = X11Desktop::open(session_->display()).value();
  EXPECT_TRUE(desktop->setMinimized(window, true));
  EXPECT_TRUE(told_.gets("AXWindowMiniaturized"));
  EXPECT_TRUE(desktop->activate(window));
  EXPECT_TRUE(told_.gets("AXWindowDeminiaturized"));
  client_.destroy(window);
  EXPECT_TRUE(told_.gets("AXUIElementDestroyed"));
}

TEST_F(X11ObserversTest, tellsOnlyWhatWasAskedForAndOfThatProcess) {
  const auto other =
      session_->start({"zenity", "--info", "--title=Other", "--text=Other"}, X11TestClient::withoutAccessibility);
  EXPECT_TRUE(changes_.gets({windowActivated, other->pid()}));
  observe(getpid(), {"AXTitleChanged"});
  observe(other->pid(), {"AXTitleChanged", "AXWindowCreated"});
  const auto window = client_.open({.title = "One"});
  EXPECT_TRUE(changes_.gets({windowActivated, getpid()}));
  client_.setTitle(window, "Two");
  EXPECT_TRUE(told_.gets("AXTitleChanged"));
  EXPECT_THAT(told_.entries(), ElementsAre("AXTitleChanged"));
}

TEST_F(X11ObserversTest, endsWhenItsReceiverEndsIt) {
  loop_.sync([this] {
    observations_.push_back(observers()
                                .observe(getpid(), {"AXMainWindowChanged", "AXFocusedWindowChanged"},
                                         [this](const std::string& name) {
                                           told_.add(name);
                                           observations_.clear();
                                         })
                                .value());
  });
  (void)client_.open({.title = "One"});
  EXPECT_TRUE(changes_.gets({windowActivated, getpid()}));
  loop_.sync([] {});
  EXPECT_THAT(told_.entries(), ElementsAre("AXMainWindowChanged"));
}

TEST_F(X11ObserversTest, refusesAProcessThatIsGone) {
  auto process = session_->start({"true"});
  const auto pid = process->pid();
  EXPECT_TRUE(process->waitForExit());
  loop_.sync(
      [&] { EXPECT_EQ(observers().observe(pid, {}, [](const std::string&) {}).error(), AXError::invalidElement); });
}

TEST_F(X11ObserversTest, takesPermissionChangesFromItsHook) {
  int changes = 0;
  loop_.sync([&] {
    const auto subscription = observers().observeTrustChanges([&] { ++changes; });
    trustChange_();
  });
  EXPECT_EQ(changes, 1);
}

}  // namespace
}  // namespace tallyfox::linux_os
