// Who is asked to look, and when: phones that subscribed and have no socket, once for each new list of dialogs.
#include "PushNotifier.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "Awaited.hpp"
#include "MemoryPairingStore.hpp"
#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"
#include "TestPushServer.hpp"

namespace tallyfox::server {
namespace {

using testing::awaited;
using ::testing::HasSubstr;
using ::testing::Not;

class PushNotifierTest : public ::testing::Test {
 protected:
  PushNotifierTest() {
    PushOptions options{.key = directory.path() / "push.pem",
                        .contact = "mailto:operator@example.org",
                        .services = {{.host = "localhost", .port = server.port()}},
                        .authorities = authority.certificate()};
    PushLimits limits;
    limits.interval = limits.retryDelay = std::chrono::milliseconds(1);
    if (!VapidKey::create(options.key)) throw std::runtime_error("no key");
    auto made = PushClient::make(options, limits);
    if (!made) throw std::runtime_error(made.error());
    client = std::move(*made);
    notifier.emplace(io.get_executor(), PushNotifier::Dependencies{.store = store,
                                                                   .log = log,
                                                                   .metrics = metrics,
                                                                   .client = *client,
                                                                   .isConnected = [this](const PhoneAddress& phone) {
                                                                     return connected.contains(phone.deviceID);
                                                                   }});
    if (!awaited(store.registerPairing("P1", {}))) throw std::runtime_error("no pairing");
    for (const char* device : {"D1", "D2"})
      static_cast<void>(awaited(store.admitDevice("P1", {.id = device, .name = "Phone"}, 16)));
  }
  std::string subscribe(const std::string& device, const std::string& endpoint) {
    return *awaited(notifier->subscribed({.pairingID = "P1", .deviceID = device}, endpoint));
  }
  /// Lets the agent publish, and waits until nothing is under way any more. The targets that were asked.
  std::multiset<std::string> published(const std::string& snapshotID, std::int64_t count = 1) {
    notifier->snapshotPublished("P1", {.encryptedApprovals = {}, .approvalCount = count, .snapshotID = snapshotID});
    return settled();
  }
  std::multiset<std::string> settled() {
    io.restart();
    io.run();
    std::multiset<std::string> targets;
    while (server.waiting() > 0)
      targets.insert(server.next().target);
    return targets;
  }
  using Targets = std::multiset<std::string>;

  testing::TemporaryDirectory directory;
  testing::TestAuthority authority{directory.path()};
  testing::TestPushServer server{authority.issue("service")};
  testing::RecordedConsole console;
  RelayLog log{console};
  RelayMetrics metrics;
  testing::MemoryPairingStore store;
  std::set<std::string> connected;
  boost::asio::io_context io;
  std::unique_ptr<PushClient> client;
  std::optional<PushNotifier> notifier;
};

const std::string on = R"({"type":"push.status","subscribed":true})";
const std::string off = R"({"type":"push.status","subscribed":false})";

std::string refused(const std::string& reason) {
  return R"({"type":"push.status","subscribed":false,"reason":")" + reason + R"("})";
}

TEST_F(PushNotifierTest, asksThoseWhoSubscribedAndHaveNoSocket) {
  EXPECT_EQ(published("ax1:0"), Targets{}) << "nobody subscribed";
  EXPECT_EQ(subscribe("D1", server.endpoint("/1")), on);
  EXPECT_EQ(published("ax1:1"), Targets{"/1"});
  EXPECT_EQ(metrics.pushes.of(RelayMetrics::Push::accepted), 1U);
  EXPECT_EQ(subscribe("D2", server.endpoint("/2")), on);
  EXPECT_EQ(published("ax1:2"), (Targets{"/1", "/2"}));
  connected = {"D1"};
  EXPECT_EQ(published("ax1:3"), Targets{"/2"});
}

TEST_F(PushNotifierTest, asksOnceForAListOfDialogs) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  EXPECT_EQ(published("ax1:1"), Targets{"/1"});
  EXPECT_EQ(published("ax1:1"), Targets{}) << "the agent connected again";
  EXPECT_EQ(published("ax1:none", 0), Targets{}) << "nothing to answer";
  EXPECT_EQ(published("ax1:1"), Targets{"/1"}) << "the dialog is back";
}

TEST_F(PushNotifierTest, doesNotAskWhenTheDialogsAreGoneByThen) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  notifier->snapshotPublished("P1", {.encryptedApprovals = {}, .approvalCount = 1, .snapshotID = "ax1:1"});
  EXPECT_EQ(published("ax1:none", 0), Targets{});
}

TEST_F(PushNotifierTest, doesNotAskWhoLeftThePairingOrUnsubscribed) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  static_cast<void>(subscribe("D2", server.endpoint("/2")));
  EXPECT_EQ(*awaited(notifier->unsubscribed({.pairingID = "P1", .deviceID = "D1"})), off);
  ASSERT_EQ(awaited(store.unpairDevice("P1", "D2")), true);
  EXPECT_EQ(published("ax1:1"), Targets{});
}

TEST_F(PushNotifierTest, refusesEndpointsThatAreNoneOrOfOthers) {
  EXPECT_EQ(subscribe("D1", "http://localhost/1"), refused("endpoint"));
  EXPECT_EQ(subscribe("D1", "https://localhost:1/1"), refused("service"));
  EXPECT_EQ(subscribe("D1", "https://fcm.googleapis.com/1"), refused("service"));
  EXPECT_EQ(subscribe("D9", server.endpoint("/9")), off) << "no such phone";
  EXPECT_EQ(awaited(store.pairedDevices("P1")).value()[0].pushEndpoint, std::nullopt);
}

TEST_F(PushNotifierTest, storesWhatIsNewAndNothingElse) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  store.calls.clear();
  EXPECT_EQ(subscribe("D1", server.endpoint("/1")), on);
  EXPECT_THAT(store.calls, ::testing::ElementsAre("pairedDevices"));
  static_cast<void>(subscribe("D1", server.endpoint("/new")));
  EXPECT_EQ(published("ax1:1"), Targets{"/new"});
}

TEST_F(PushNotifierTest, saysThatItCouldNotStore) {
  store.failure = "broken";
  EXPECT_EQ(subscribe("D1", server.endpoint("/1")), refused("storage"));
  EXPECT_EQ(published("ax1:1"), Targets{});
  EXPECT_THAT(console.text(), HasSubstr("Unable to store a push subscription of pairing P1: broken"));
  EXPECT_THAT(console.text(), HasSubstr("Unable to list the phones of pairing P1: broken"));
}

TEST_F(PushNotifierTest, forgetsSubscriptionsThatHaveEnded) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  for (const char* status : {"410 Gone", "404 Not Found"}) {
    server.answerWith(std::string("HTTP/1.1 ") + status + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(published(status), Targets{"/1"});
    EXPECT_EQ(awaited(store.pairedDevices("P1")).value()[0].pushEndpoint, std::nullopt);
    EXPECT_EQ(published(std::string("after ") + status), Targets{});
    EXPECT_EQ(subscribe("D1", server.endpoint("/1")), on) << "it may subscribe again";
  }
  EXPECT_EQ(metrics.pushes.of(RelayMetrics::Push::gone), 2U);
  EXPECT_THAT(console.text(), HasSubstr("The push subscription of phone D1 of pairing P1 has ended."));
}

TEST_F(PushNotifierTest, keepsASubscriptionThatIsNewerThanTheOneThatEnded) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  server.answerWith("HTTP/1.1 410 Gone\r\nContent-Length: 0\r\n\r\n");
  notifier->snapshotPublished("P1", {.encryptedApprovals = {}, .approvalCount = 1, .snapshotID = "ax1:1"});
  while (server.waiting() == 0)
    io.run_one_for(std::chrono::milliseconds(10));
  static_cast<void>(awaited(store.setPushEndpoint("P1", "D1", server.endpoint("/2"))));
  EXPECT_EQ(settled(), Targets{"/1"});
  EXPECT_EQ(awaited(store.pairedDevices("P1")).value()[0].pushEndpoint, server.endpoint("/2"));
}

TEST_F(PushNotifierTest, logsAFailureWithoutTheEndpoint) {
  static_cast<void>(subscribe("D1", server.endpoint("/secret")));
  server.answerWith("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(published("ax1:1"), Targets{"/secret"});
  EXPECT_THAT(console.text(), HasSubstr("Phone D1 of pairing P1 cannot be asked to look: 403"));
  EXPECT_THAT(console.text(), Not(HasSubstr("secret")));
  EXPECT_NE(awaited(store.pairedDevices("P1")).value()[0].pushEndpoint, std::nullopt);
}

TEST_F(PushNotifierTest, waitsForNobody) {
  static_cast<void>(subscribe("D1", server.endpoint("/1")));
  store.holding = testing::MemoryPairingStore::Hold::calls;
  notifier->snapshotPublished("P1", {.encryptedApprovals = {}, .approvalCount = 1, .snapshotID = "ax1:1"});
  notifier->snapshotPublished("P1", {.encryptedApprovals = {}, .approvalCount = 1, .snapshotID = "ax1:2"});
  notifier->snapshotPublished("P1", {.encryptedApprovals = {}, .approvalCount = 1, .snapshotID = "ax1:3"});
  io.restart();
  io.poll();
  EXPECT_EQ(store.waiting(), 1U) << "one look at the storage for all three";
  store.release();
  EXPECT_THAT(settled(), ::testing::Not(::testing::IsEmpty()));
}

}  // namespace
}  // namespace tallyfox::server
