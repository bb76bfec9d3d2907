// The monitor hears what a process asks over a bus, and of what it heard it is told which calls had to wait for which
// answers.

#include "desktop/BusMonitor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/DesktopSession.hpp"

namespace tallyfox::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

constexpr const char* ours = ":1.7";

BusMessage call(const std::string& peer, std::uint64_t serial, const std::string& sender = ours) {
  return {.kind = BusMessage::Kind::call, .sender = sender, .receiver = peer, .serial = serial, .member = "GetRole"};
}

BusMessage answer(const std::string& peer, std::uint64_t serial, Seconds moment = {}) {
  return {.kind = BusMessage::Kind::answer,
          .moment = moment,
          .sender = peer,
          .receiver = ours,
          .serial = 1,
          .answeredSerial = serial};
}

std::vector<std::size_t> roundsOf(const std::vector<BusMessage>& messages) {
  std::vector<std::size_t> rounds;
  for (const auto& asked : BusTraffic::of(messages, {ours}).calls)
    rounds.push_back(asked.round);
  return rounds;
}

TEST(BusTraffic, countsCallsThatWaitForNothingAsOneRound) {
  EXPECT_THAT(roundsOf({call(":1.1", 1), call(":1.1", 2), answer(":1.1", 1)}), ElementsAre(1, 1));
}

TEST(BusTraffic, countsACallAfterAnAnswerAsTheNextRound) {
  EXPECT_THAT(roundsOf({call(":1.1", 1), answer(":1.1", 1), call(":1.1", 2), answer(":1.1", 2), call(":1.1", 3)}),
              ElementsAre(1, 2, 3));
}

TEST(BusTraffic, letsNoPeerWaitForAnother) {
  EXPECT_THAT(roundsOf({call(":1.1", 1), answer(":1.1", 1), call(":1.2", 2)}), ElementsAre(1, 1));
}

TEST(BusTraffic, letsEveryPeerWaitForTheRegistryAndTheBus) {
  EXPECT_THAT(roundsOf({call("org.a11y.atspi.Registry", 1), answer("org.a11y.atspi.Registry", 1),
                        call("org.freedesktop.DBus", 2), answer("org.freedesktop.DBus", 2), call(":1.1", 3)}),
              ElementsAre(1, 2, 3));
}

TEST(BusTraffic, leavesOutWhatOthersAsk) {
  EXPECT_THAT(roundsOf({call(":1.1", 1, ":1.9"), answer(":1.1", 1), call(":1.1", 2)}), ElementsAre(1));
}

TEST(BusTraffic, tellsTheMostRoundsAndTheLastAnswerOfEachPeer) {
  const BusTraffic traffic =
      BusTraffic::of({call(":1.1", 1), call(":1.2", 2), answer(":1.1", 1, Seconds(3)), call(":1.1", 3),
                      answer(":1.2", 2, Seconds(4)), answer(":1.1", 3, Seconds(5))},
                     {ours});
  EXPECT_THAT(traffic.roundsByPeer(), ElementsAre(Pair(":1.1", 2), Pair(":1.2", 1)));
  EXPECT_THAT(traffic.lastAnswerByPeer, ElementsAre(Pair(":1.1", Seconds(5)), Pair(":1.2", Seconds(4))));
  EXPECT_THAT(traffic.callsByMember(), ElementsAre(Pair("GetRole", 3)));
}

class BusMonitorTest : public ::testing::Test {
 protected:
  DesktopSession session{{.windowManager = false, .accessibility = false}};
  BusMonitor monitor{session.sessionBusAddress()};
};

TEST_F(BusMonitorTest, hearsACallAndItsAnswer) {
  const auto asker = linux_os::connectedBus(session.sessionBusAddress(), std::chrono::seconds(5));
  ASSERT_TRUE(asker) << asker.error();
  const char* name = nullptr;
  ASSERT_GE(sd_bus_get_unique_name(asker->get(), &name), 0);
  (void)monitor.take();
  ASSERT_GE(sd_bus_call_method(asker->get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus.Properties", "Get", nullptr, nullptr, "ss", "org.freedesktop.DBus",
                               "Features"),
            0);
  const auto heard = monitor.take();
  EXPECT_THAT(heard, SizeIs(2));
  EXPECT_THAT(BusTraffic::of(heard, {name}).callsByMember(), ElementsAre(Pair("Get Features", 1)));
  EXPECT_THAT(BusTraffic::of(heard, {name}).lastAnswerByPeer, SizeIs(1));
  EXPECT_THAT(monitor.take(), IsEmpty());
}

TEST_F(BusMonitorTest, knowsTheNamesOfAProcess) {
  const auto asker = linux_os::connectedBus(session.sessionBusAddress(), std::chrono::seconds(5));
  ASSERT_TRUE(asker) << asker.error();
  const char* name = nullptr;
  ASSERT_GE(sd_bus_get_unique_name(asker->get(), &name), 0);
  EXPECT_THAT(monitor.namesOf(getpid()), ElementsAre(name));
  EXPECT_THAT(monitor.processes(), Contains(Pair(name, getpid())));
}

}  // namespace
}  // namespace tallyfox::testing
