// What a scan asks of the programs on the screen, counted on the accessibility bus: a ceiling on messages and on how
// many of them wait for each other, which depend on the machine less than times do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "desktop/BusMonitor.hpp"
#include "desktop/DesktopSession.hpp"
#include "desktop/Scanner.hpp"
#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::testing {
namespace {

constexpr std::size_t dialogs = 3;
/// For a question of nine elements, on average and of the one with the focus, which is found a second time as the
/// focused window.
constexpr std::size_t mostCallsOnAverage = 66;
constexpr std::size_t mostCallsOfADialog = 92;
/// Answers arrive between the calls of one round, so that a busy machine may split one.
constexpr std::size_t mostRounds = 40;

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

  DesktopSession session;
  Scanner scanner{session};
  std::vector<std::unique_ptr<DesktopProcess>> programs;
};

TEST_F(ScanTrafficTest, staysBelowItsCeilings) {
  ASSERT_TRUE(areAllFound());
  BusMonitor monitor(accessibilityBusAddress());
  const std::set<std::string> scanning = monitor.namesOf(getpid());
  (void)monitor.take();
  ASSERT_EQ(scanner.scan().size(), dialogs);
  const BusTraffic traffic = BusTraffic::of(monitor.take(), scanning);

  RecordProperty("calls", std::to_string(traffic.calls.size()));
  EXPECT_LE(traffic.calls.size(), dialogs * mostCallsOnAverage);
  std::size_t dialogsAsked = 0;
  for (const auto& program : programs) {
    for (const std::string& name : monitor.namesOf(program->pid())) {
      const auto calls = std::ranges::count(traffic.calls, name, &BusTraffic::Call::peer);
      if (calls == 0) continue;
      ++dialogsAsked;
      EXPECT_LE(static_cast<std::size_t>(calls), mostCallsOfADialog);
      EXPECT_LE(traffic.roundsByPeer().at(name), mostRounds);
    }
  }
  EXPECT_EQ(dialogsAsked, dialogs);
}

}  // namespace
}  // namespace tallyfox::testing
