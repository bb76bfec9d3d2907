// What the accessibility bus tells without a listener being registered with anybody: programs that open up, at once and
// late, and that end; also when the bus itself goes and comes.

#include "platform/linux/AtspiEventSource.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "desktop/BusMonitor.hpp"
#include "desktop/X11EventLoop.hpp"
#include "platform/linux/LinuxAccessibilityObservers.hpp"
#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::testing {
namespace {

using linux_os::AtspiChange;
using linux_os::AtspiChangeKind;
using linux_os::AtspiEventSource;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AtspiEventSourceTest : public ::testing::Test {
 protected:
  ~AtspiEventSourceTest() override {
    loop_.sync([this] {
      changes_.reset();
      source_.reset();
    });
  }
  void watch() {
    loop_.sync([this] {
      source_ = std::make_unique<AtspiEventSource>(session_.sessionBusAddress(), loop_);
      changes_ = source_->subscribe([this](const AtspiChange& change) { told_.add(change); });
    });
  }
  [[nodiscard]] std::unique_ptr<DesktopProcess> question() const {
    return session_.start({"zenity", "--question", "--text=Go on?"});
  }
  [[nodiscard]] bool knows(const DesktopProcess& program) {
    return DesktopSession::waitUntil([&] {
      const auto programs = source_->programs();
      return std::ranges::find(programs, program.pid()) != programs.end();
    });
  }
  [[nodiscard]] static AtspiChange registrationOf(const DesktopProcess& program) {
    return {.kind = AtspiChangeKind::programRegistered, .processIdentifier = program.pid()};
  }

  DesktopSession session_;
  X11EventLoop loop_;
  std::unique_ptr<AtspiEventSource> source_;
  std::unique_ptr<Subscription> changes_;
  X11Record<AtspiChange> told_;
};

TEST_F(AtspiEventSourceTest, tellsOfProgramsThatRegister) {
  watch();
  auto program = question();
  EXPECT_TRUE(told_.gets(registrationOf(*program)));
  EXPECT_THAT(source_->programs(), Contains(program->pid()));
  program.reset();
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return source_->programs().empty(); }));
}

TEST_F(AtspiEventSourceTest, knowsProgramsThatWereThereBefore) {
  watch();
  const auto program = question();
  ASSERT_TRUE(told_.gets(registrationOf(*program)));
  told_.clear();
  loop_.sync([this] { source_.reset(); });
  watch();
  EXPECT_TRUE(knows(*program));
  EXPECT_THAT(told_.entries(), IsEmpty()) << "it did not come, it was there";
}

TEST_F(AtspiEventSourceTest, survivesTheBusAndTakesTheNextOne) {
  watch();
  const auto early = question();
  ASSERT_TRUE(knows(*early));
  session_.stopBuses();
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return source_->programs().empty(); }));
  session_.startSessionBus();
  session_.setAccessibilityEnabled(true);
  loop_.sync([this] { source_->connect(); });
  const auto late = question();
  EXPECT_TRUE(knows(*late));
}

TEST_F(AtspiEventSourceTest, isSilentWithoutABus) {
  session_.stopBuses();
  watch();
  loop_.sync([this] { source_->connect(); });
  EXPECT_THAT(source_->programs(), IsEmpty());
  EXPECT_EQ(loop_.wakeUps(), 0);
}

TEST_F(AtspiEventSourceTest, aProgramThatHangsDelaysNobody) {
  watch();
  const auto hung = question();
  ASSERT_TRUE(knows(*hung));
  hung->setStopped(true);
  loop_.sync([this] { source_.reset(); });
  watch();
  const auto healthy = question();
  EXPECT_TRUE(knows(*healthy));
  EXPECT_TRUE(knows(*hung)) << "the bus itself knows whose connection it is";
  hung->setStopped(false);
}

TEST_F(AtspiEventSourceTest, tellsWhenASilentProgramAnswersAgain) {
  watch();
  const auto program = question();
  ASSERT_TRUE(knows(*program));
  auto bus = linux_os::SessionStatus(session_.sessionBusAddress()).accessibilityBusAddress();
  ASSERT_TRUE(bus);
  const std::set<std::string> names = BusMonitor(*bus).namesOf(program->pid());
  program->setStopped(true);
  for (int times = 0; times < 3; ++times) {
    loop_.sync([&] {
      for (const std::string& name : names)
        source_->awaitAnswer(name);
      source_->awaitAnswer(":99.99");
    });
  }
  const AtspiChange answered{.kind = AtspiChangeKind::programAnswered, .processIdentifier = program->pid()};
  EXPECT_FALSE(told_.has(answered));
  program->setStopped(false);
  EXPECT_TRUE(told_.gets(answered));
  const auto entries = told_.entries();
  EXPECT_EQ(std::ranges::count(entries, answered), 1);
}

TEST(AtspiChange, isNamedInTheLanguageOfAccessibility) {
  using linux_os::notificationsFor;
  EXPECT_THAT(notificationsFor(AtspiChangeKind::programRegistered), ElementsAre("AXWindowCreated"));
  EXPECT_THAT(notificationsFor(AtspiChangeKind::programAnswered), ElementsAre("AXWindowCreated"));
  EXPECT_THAT(notificationsFor(AtspiChangeKind::windowsChanged), ElementsAre("AXWindowCreated"));
  EXPECT_THAT(notificationsFor(AtspiChangeKind::focusMoved), ElementsAre("AXFocusedWindowChanged"));
}

}  // namespace
}  // namespace tallyfox::testing
