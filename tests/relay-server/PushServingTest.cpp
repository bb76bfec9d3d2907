// Web Push through a whole relay: a phone subscribes, leaves, and is asked to look when a dialog comes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "LiveRelay.hpp"
#include "RelayServer.hpp"
#include "TestAuthority.hpp"
#include "TestPushServer.hpp"
#include "push/VapidKey.hpp"

namespace tallyfox::server {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::LiveRelay;
using testing::registered;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

class PushServingTest : public ::testing::Test {
 protected:
  PushServingTest() {
    options.push = PushOptions{.key = directory.path() / "push.pem",
                               .contact = "mailto:operator@example.org",
                               .services = {{.host = "localhost", .port = server.port()}},
                               .authorities = authority.certificate()};
    options.pageDirectory = directory.path();
    std::ofstream(directory.path() / "index.html") << "<!doctype html>";
    if (!VapidKey::create(options.push->key)) throw std::runtime_error("no key");
  }
  static std::string subscription(const std::string& endpoint) {
    return R"({"type":"push.subscribe","endpoint":")" + endpoint + R"("})";
  }

  testing::TemporaryDirectory directory;
  testing::TestAuthority authority{directory.path()};
  testing::TestPushServer server{authority.issue("service")};
  RelayOptions options;
};

const std::string askForConfig = "GET /page-config.json HTTP/1.1\r\nHost: relay\r\nConnection: close\r\n\r\n";

TEST_F(PushServingTest, asksAPhoneThatIsAwayToLook) {
  LiveRelay relay(directory.path() / "data", {}, options);
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("\"phoneConnected\":false"));
  {
    TestPhone phone(relay.port(), "P1", "token", "D1");
    EXPECT_EQ(phone.next(), message::welcome(true));
    EXPECT_THAT(agent.next(), HasSubstr("\"phoneConnected\":true"));
    phone.send(subscription(server.endpoint("/1")));
    EXPECT_THAT(phone.next(), HasSubstr("\"subscribed\":true"));
    agent.send(message::snapshot("ax1:1"));
    EXPECT_EQ(phone.next(), message::snapshot("ax1:1")) << "it is here and needs no other word";
  }
  EXPECT_THAT(agent.next(), HasSubstr("\"phoneConnected\":false"));
  agent.send(message::snapshot("ax1:2"));
  EXPECT_EQ(server.next().target, "/1");
  EXPECT_EQ(server.waiting(), 0U);
}

TEST_F(PushServingTest, remembersSubscriptionsAcrossARestart) {
  std::optional<LiveRelay> relay(std::in_place, directory.path() / "data", RelayLimits{}, options);
  ASSERT_EQ(registered(relay->port(), "P1", "token").status, 204U);
  {
    TestPhone phone(relay->port(), "P1", "token", "D1");
    EXPECT_EQ(phone.next(), message::welcome(false));
    phone.send(subscription(server.endpoint("/1")));
    EXPECT_THAT(phone.next(), HasSubstr("\"subscribed\":true"));
  }
  relay.reset();
  relay.emplace(directory.path() / "data", RelayLimits{}, options);
  TestSocket agent(relay->port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("\"phoneConnected\":false"));
  agent.send(message::snapshot("ax1:1"));
  EXPECT_EQ(server.next().target, "/1");
}

TEST_F(PushServingTest, closesOnASubscriptionWithoutAnEndpoint) {
  LiveRelay relay(directory.path() / "data", {}, options);
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(false));
  phone.send(R"({"type":"push.unsubscribe"})");
  EXPECT_THAT(phone.next(), HasSubstr("\"subscribed\":false"));
  phone.send(R"({"type":"push.subscribe"})");
  EXPECT_EQ(phone.next(), "closed 4400");
}

TEST_F(PushServingTest, tellsThePageItsKey) {
  const LiveRelay relay(directory.path() / "data", {}, options);
  EXPECT_EQ(testing::askedOver(relay.port(), askForConfig).body,
            R"({"version":1,"pushKey":")" + VapidKey::read(options.push->key)->publicKey() + R"("})");
}

TEST_F(PushServingTest, isOffWithoutAKey) {
  options.push.reset();
  LiveRelay relay(directory.path() / "data", {}, options);
  EXPECT_EQ(testing::askedOver(relay.port(), askForConfig).body, R"({"version":1,"pushKey":null})");
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(false));
  phone.send(subscription(server.endpoint("/1")));
  phone.send(message::request("R1"));
  EXPECT_EQ(phone.next(), message::undeliverable("R1")) << "what it does not know it passes over";
}

TEST_F(PushServingTest, doesNotStartWithoutTheFilesThatItWasTold) {
  testing::RecordedConsole console;
  options.address = "127.0.0.1";
  options.dataDirectory = directory.path() / "data";
  options.push->authorities = directory.path() / "absent.pem";
  EXPECT_THAT(RelayServer::open(options, {}, console).error(), HasSubstr("Unable to read the certificates "));
  options.push->key = directory.path() / "absent.key";
  EXPECT_THAT(RelayServer::open(options, {}, console).error(), EndsWith("absent.key: No such file or directory"));
}

}  // namespace
}  // namespace tallyfox::server
