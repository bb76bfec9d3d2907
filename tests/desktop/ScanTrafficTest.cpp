// What a scan asks of the programs on the screen, counted on the accessibility bus: a ceiling on messages and on how
// many of them wait for each other, which depend on the machine less than times do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <set>

#include "desktop/BusMonitor.hpp"
#include "desktop/DesktopSession.hpp"
#include "desktop/Scanner.hpp"
#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::testing {
namespace {

constexpr std::size_t dialogs = 3;
/// For a question of nine elements whose shape is known, and for one that is met for the first time. The one with the
/// focus is also asked for that; the registry's answer is shared by all.
constexpr std::size_t mostCallsOfAKnownDialog = 12;
constexpr std::size_t mostCallsOfANewDialog = 26;
constexpr std::size_t mostSharedCalls = 2;
/// Answers arrive between the calls of one round, so that a busy machine may split some.
constexpr std::size_t mostRoundsOfAKnownDialog = 6;
constexpr std::size_t mostRoundsOfANewDialog = 12;

class ScanTrafficTest : public ::testing::Test {
 protected:
  ScanTrafficTest() {
    for (std::size_t number = 0; number < dialogs; ++number)
      programs.push_back(session.start(
          {"zenity", "--question", "--title=Question " + std::to_string(number), "--text=Delete the file?"}));
  }
  [[nodiscard]] bool areAllFound() {
    return DesktopSession::waitUntil([this] { return scanner.scan().size() == dialogs; }, Seconds(30));
  }
  [[nodiscard]] std::string accessibilityBusAddress() const {
    return linux_os::SessionStatus(session.sessionBusAddress()).accessibilityBusAddress().value();
  }

  void expectAtMost(BusMonitor& monitor, const BusTraffic& traffic, std::size_t calls, std::size_t rounds) {
    std::map<std::string, std::size_t> callsByPeer;
    for (const BusTraffic::Call& call : traffic.calls)
      ++callsByPeer[call.peer];
    const auto roundsByPeer = traffic.roundsByPeer();
    std::size_t dialogsAsked = 0;
    std::size_t sharedCalls = traffic.calls.size();
    for (const auto& program : programs) {
      for (const std::string& name : monitor.namesOf(program->pid())) {
        if (!callsByPeer.contains(name)) continue;
        ++dialogsAsked;
        sharedCalls -= callsByPeer.at(name);
        EXPECT_LE(callsByPeer.at(name), calls);
        EXPECT_LE(roundsByPeer.at(name), rounds);
      }
    }
    EXPECT_EQ(dialogsAsked, dialogs);
    EXPECT_LE(sharedCalls, mostSharedCalls + dialogs);
  }

  DesktopSession session;
  Scanner scanner{session};
  std::vector<std::unique_ptr<DesktopProcess>> programs;
};

TEST_F(ScanTrafficTest, aKnownDialogIsAskedLittle) {
  ASSERT_TRUE(areAllFound());
  BusMonitor monitor(accessibilityBusAddress());
  ASSERT_EQ(scanner.scan().size(), dialogs) << "so that every shape is fresh";
  const std::set<std::string> scanning = monitor.namesOf(getpid());
  (void)monitor.take();
  ASSERT_EQ(scanner.scan().size(), dialogs);
  const BusTraffic traffic = BusTraffic::of(monitor.take(), scanning);
  expectAtMost(monitor, traffic, mostCallsOfAKnownDialog, mostRoundsOfAKnownDialog);
}

TEST_F(ScanTrafficTest, aNewDialogIsAskedALittleMore) {
  ASSERT_TRUE(areAllFound());
  BusMonitor monitor(accessibilityBusAddress());
  const std::set<std::string> before = monitor.namesOf(getpid());
  (void)monitor.take();
  Scanner fresh{session};
  (void)fresh.scan();
  std::set<std::string> scanning = monitor.namesOf(getpid());
  for (const std::string& name : before)
    scanning.erase(name);
  const BusTraffic traffic = BusTraffic::of(monitor.take(), scanning);
  expectAtMost(monitor, traffic, mostCallsOfANewDialog, mostRoundsOfANewDialog);
}

}  // namespace
}  // namespace tallyfox::testing
