// Real programs are applications with a name and a desktop file; their coming and going is told; and only what is known
// as an application, or as another agent of this session, is ever asked to quit.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "desktop/X11EventLoop.hpp"
#include "desktop/X11TestClient.hpp"
#include "platform/linux/LinuxApplications.hpp"

namespace tallyfox::linux_os {
namespace {

using enum WorkspaceEventKind;
using testing::DesktopSession;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Optional;
using testing::X11EventLoop;
using testing::X11Record;
using testing::X11TestClient;

class X11ApplicationsTest : public ::testing::Test {
 protected:
  X11ApplicationsTest() {
    const auto folder = session_.directory() / "data/applications";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "org.example.Question.desktop") << "[Desktop Entry]\nStartupWMClass=Zenity\n";
    loop_.sync([this] {
      source_ = std::make_unique<X11EventSource>(session_.display(), loop_, loop_.queue());
      applications_ = std::make_unique<LinuxApplications>(
          LinuxApplications::Dependencies{.desktop = desktop_,
                                          .events = *source_,
                                          .watcher = loop_,
                                          .dataDirectories = {session_.directory() / "data"},
                                          .accessiblePrograms = [this] { return accessible_; }});
    });
  }
  ~X11ApplicationsTest() override {
    loop_.sync([this] {
      subscription_.reset();
      applications_.reset();
      source_.reset();
    });
  }

  [[nodiscard]] std::unique_ptr<testing::DesktopProcess> question() const {
    return session_.start({"zenity", "--question", "--title=Go on?", "--text=Go on?"},
                          X11TestClient::withoutAccessibility);
  }
  [[nodiscard]] bool appears(std::int32_t pid) {
    return DesktopSession::waitUntil([&] { return applications_->application(pid).has_value(); },
                                     X11TestClient::startTime);
  }
  /// A copy of a real program under another name.
  [[nodiscard]] std::string program(const std::string& name) const {
    const auto path = session_.directory() / name;
    std::filesystem::copy_file("/usr/bin/zenity", path);
    return path.string();
  }
  [[nodiscard]] std::vector<std::int32_t> agents(const std::string& identifier) {
    std::vector<std::int32_t> found;
    for (const auto& agent : applications_->applicationsWithBundleIdentifier(identifier))
      found.push_back(agent.processIdentifier);
    return found;
  }

  DesktopSession session_{{.accessibility = false}};
  std::shared_ptr<X11Desktop> desktop_ = X11Desktop::open(session_.display()).value();
  X11TestClient client_{session_.display()};
  X11EventLoop loop_;
  std::vector<std::int32_t> accessible_;
  std::unique_ptr<X11EventSource> source_;
  std::unique_ptr<LinuxApplications> applications_;
  std::unique_ptr<Subscription> subscription_;
  X11Record<WorkspaceEvent> events_;
};

TEST_F(X11ApplicationsTest, describesARealApplication) {
  const auto process = question();
  ASSERT_TRUE(appears(process->pid()));
  const RunningApplication expected{.processIdentifier = process->pid(),
                                    .bundleIdentifier = "org.example.Question",
                                    .localizedName = "Zenity",
                                    .isTerminated = false,
                                    .isRegular = true};
  EXPECT_THAT(applications_->runningApplications(), ::testing::ElementsAre(expected));
  EXPECT_EQ(applications_->application(process->pid()), expected);
  EXPECT_THAT(applications_->applicationsWithBundleIdentifier("org.example.Question"),
              ::testing::ElementsAre(expected));
  EXPECT_THAT(applications_->applicationsWithBundleIdentifier("org.example.question"), IsEmpty());
  EXPECT_EQ(applications_->application(1), std::nullopt);
}

TEST_F(X11ApplicationsTest, listsEachProcessOnceInAscendingOrder) {
  const auto one = question();
  const auto other = question();
  (void)client_.open({.title = "A"});
  (void)client_.open({.title = "B"});
  ASSERT_TRUE(appears(one->pid()) && appears(other->pid()) && appears(getpid()));
  std::vector<std::int32_t> listed;
  for (const auto& application : applications_->runningApplications())
    listed.push_back(application.processIdentifier);
  EXPECT_EQ(listed.size(), 3U);
  EXPECT_TRUE(std::ranges::is_sorted(listed));
}

TEST_F(X11ApplicationsTest, addsAccessibleProgramsWithoutWindows) {
  const auto process = session_.start({"sleep", "60"});
  accessible_ = {process->pid(), 0, getpid()};
  const auto named = [&] { return applications_->application(process->pid()); };
  // A new process has its parent's name for a moment.
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return named() && named()->localizedName == "sleep"; }));
  const auto application = named();
  ASSERT_TRUE(application);
  EXPECT_EQ(application->bundleIdentifier, std::nullopt);
  EXPECT_TRUE(application->isRegular);
  EXPECT_EQ(applications_->application(0), std::nullopt);
  const auto own = applications_->application(getpid());
  ASSERT_TRUE(own);
  EXPECT_FALSE(own->isRegular) << "the agent itself";
  EXPECT_THAT(own->localizedName, Optional(::testing::StartsWith("test_desktop")));
}

TEST_F(X11ApplicationsTest, doesNotCountPanelsAsRegular) {
  const auto panel = client_.create({.title = "Panel"});
  const auto other = session_.start({"sleep", "60"});
  client_.setAtom(panel, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DOCK");
  client_.setNumbers(panel, "_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(other->pid())});
  client_.show(panel);
  ASSERT_TRUE(appears(other->pid()));
  EXPECT_FALSE(applications_->application(other->pid())->isRegular);
  accessible_ = {other->pid()};
  EXPECT_FALSE(applications_->application(other->pid())->isRegular);
}

TEST_F(X11ApplicationsTest, knowsThatAProcessHasEnded) {
  auto process = session_.start({"true"});
  const auto pid = process->pid();
  accessible_ = {pid};
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return applications_->application(pid)->isTerminated; }))
      << "also while nobody has taken notice of its end";
  EXPECT_TRUE(process->waitForExit());
  EXPECT_TRUE(applications_->application(pid)->isTerminated);
}

TEST_F(X11ApplicationsTest, tellsOfApplicationsThatComeActGoHideAndReturn) {
  loop_.sync(
      [this] { subscription_ = applications_->observe([this](const WorkspaceEvent& event) { events_.add(event); }); });
  auto process = question();
  const auto pid = process->pid();
  EXPECT_TRUE(events_.gets({activated, pid}));
  EXPECT_TRUE(events_.has({launched, pid}));
  const XWindow window = desktop_->activeWindow().value();
  EXPECT_EQ(window.processIdentifier, pid);
  EXPECT_TRUE(desktop_->setMinimized(window.id, true));
  EXPECT_TRUE(events_.gets({hidden, pid}));
  EXPECT_TRUE(desktop_->activate(window.id));
  EXPECT_TRUE(events_.gets({unhidden, pid}));
  client_.tellWindowManager(client_.root(), "_NET_CURRENT_DESKTOP", {1, 0, 0, 0, 0});
  EXPECT_TRUE(events_.gets({activeSpaceChanged, 0}));
  process->signal(SIGKILL);
  EXPECT_TRUE(events_.gets({terminated, pid})) << "before its parent has taken notice";
  EXPECT_EQ(std::ranges::count(events_.entries(), WorkspaceEvent{launched, pid}), 1);
  EXPECT_EQ(std::ranges::count(events_.entries(), WorkspaceEvent{terminated, pid}), 1);
}

TEST_F(X11ApplicationsTest, tellsTheEndOfAnApplicationThatWasThereBefore) {
  auto process = question();
  const auto pid = process->pid();
  ASSERT_TRUE(DesktopSession::waitUntil(
      [&] {
        bool isKnown = false;
        loop_.sync([&] { isKnown = !source_->state().windows.empty(); });
        return isKnown;
      },
      X11TestClient::startTime));
  loop_.sync(
      [this] { subscription_ = applications_->observe([this](const WorkspaceEvent& event) { events_.add(event); }); });
  process.reset();
  EXPECT_TRUE(events_.gets({terminated, pid}));
  EXPECT_FALSE(events_.has({launched, pid}));
}

TEST_F(X11ApplicationsTest, letsItsReceiverEndTheObservation) {
  loop_.sync([this] {
    subscription_ = applications_->observe([this](const WorkspaceEvent& event) {
      events_.add(event);
      subscription_.reset();
    });
  });
  auto process = question();
  EXPECT_TRUE(events_.gets({launched, process->pid()}));
  process.reset();
  ASSERT_TRUE(DesktopSession::waitUntil([&] {
    bool isGone = false;
    loop_.sync([&] { isGone = source_->state().windows.empty(); });
    return isGone;
  }));
  EXPECT_EQ(events_.entries().size(), 1U);
}

TEST_F(X11ApplicationsTest, asksAnApplicationToQuit) {
  const auto process = question();
  ASSERT_TRUE(appears(process->pid()));
  applications_->terminate(process->pid());
  EXPECT_THAT(process->waitForExit(), Optional(Eq(128 + SIGTERM)));
}

TEST_F(X11ApplicationsTest, doesNotSignalWhatIsNoApplicationOrItself) {
  const auto stranger = session_.start({"sleep", "60"});
  accessible_ = {getpid(), 1};
  applications_->terminate(stranger->pid());
  applications_->terminate(getpid());
  applications_->terminate(1);
  applications_->terminate(0);
  applications_->terminate(-stranger->pid());
  EXPECT_FALSE(stranger->waitForExit(Seconds(0.3)));
}

TEST_F(X11ApplicationsTest, findsAndEndsOtherAgentsOfThisDisplayByTheirProgram) {
  const auto agent = session_.start({program("tallyfox"), "--info", "--title=Agent", "--text=Agent"},
                                    X11TestClient::withoutAccessibility);
  const auto other = session_.start({program("tallyfox-relay"), "--info", "--title=Relay", "--text=Relay"},
                                    X11TestClient::withoutAccessibility);
  ASSERT_TRUE(appears(agent->pid()) && appears(other->pid()));
  EXPECT_THAT(agents("com.tallyfox.agent"), ::testing::ElementsAre(agent->pid()));
  EXPECT_THAT(agents("com.quarrystone.agent"), ::testing::ElementsAre(agent->pid()));
  EXPECT_THAT(agents("com.tallyfox.other"), IsEmpty());
  std::filesystem::remove(session_.directory() / "tallyfox");
  EXPECT_THAT(agents("com.tallyfox.agent"), ::testing::ElementsAre(agent->pid())) << "its program was replaced since";
  applications_->terminate(agent->pid());
  EXPECT_THAT(agent->waitForExit(), Optional(Eq(128 + SIGTERM)));
}

TEST_F(X11ApplicationsTest, leavesAgentsOfAnotherDisplayAlone) {
  DesktopSession elsewhere({.accessibility = false});
  const auto agent = elsewhere.start({program("tallyfox"), "--info", "--title=Agent", "--text=Agent"},
                                     X11TestClient::withoutAccessibility);
  const auto otherDesktop = X11Desktop::open(elsewhere.display()).value();
  ASSERT_TRUE(
      DesktopSession::waitUntil([&] { return !otherDesktop->windowsFrontToBack().empty(); }, X11TestClient::startTime));
  EXPECT_THAT(agents("com.tallyfox.agent"), IsEmpty());
  applications_->terminate(agent->pid());
  EXPECT_FALSE(agent->waitForExit(Seconds(0.3)));
}

}  // namespace
}  // namespace tallyfox::linux_os
