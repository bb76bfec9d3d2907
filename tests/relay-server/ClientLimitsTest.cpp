// The two limits together: whom each of them counts, and over real sockets what a refused client hears.
#include "ClientLimits.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LiveRelay.hpp"

namespace tallyfox::server {
namespace {

using namespace std::chrono_literals;
using boost::asio::ip::make_address;
using testing::askedOver;
using ::testing::HasSubstr;
using testing::LiveRelay;
using testing::registered;
using ::testing::StartsWith;
using testing::TemporaryDirectory;
using testing::TestConnection;
using testing::TestPhone;
using testing::TestSocket;

constexpr Rate twice{.burst = 2, .perSecond = 0.001};
const std::string probe = "GET /healthz HTTP/1.1\r\nHost: relay\r\n";

RelayLimits limitsOf(Rate connections, Rate requests) {
  RelayLimits limits;
  limits.connectionsPerAddress = connections;
  limits.requestsPerAddress = requests;
  return limits;
}

TEST(ClientLimits, countAProxysClientsAndNotItsConnections) {
  ClientLimits limits(limitsOf(twice, twice), {*Network::parsed("10.0.0.0/8")});
  const ClientLimits::Time now{1h};
  const auto asks = [&](const char* client) {
    boost::beast::http::fields fields;
    fields.set("X-Forwarded-For", client);
    return limits.requestRefusal(make_address("10.1.1.1"), fields, now).has_value();
  };
  for (int count = 0; count < 10; ++count)
    EXPECT_FALSE(limits.connectionRefusal(make_address("10.1.1.1"), now));
  EXPECT_FALSE(asks("2001:db8:0:1::1"));
  EXPECT_FALSE(asks("2001:db8:0:1::2"));
  EXPECT_TRUE(asks("2001:db8:0:1::3")) << "one /64 is one client";
  EXPECT_FALSE(asks("2001:db8:0:2::1"));
  EXPECT_FALSE(limits.connectionRefusal(make_address("192.0.2.1"), now));
  EXPECT_FALSE(limits.connectionRefusal(make_address("192.0.2.1"), now));
  EXPECT_TRUE(limits.connectionRefusal(make_address("192.0.2.1"), now));
  EXPECT_FALSE(limits.connectionRefusal(make_address("192.0.2.2"), now));
}

TEST(ClientLimits, giveBackThePlacesOfPoliteRefusals) {
  RelayLimits few;
  few.politeRefusals = 1;
  ClientLimits limits(few, {});
  auto first = limits.politeRefusal();
  EXPECT_TRUE(first);
  EXPECT_FALSE(limits.politeRefusal());
  first.reset();
  EXPECT_TRUE(limits.politeRefusal());
}

TEST(ClientLimits, answerTooManyRequestsWith429AndAWait) {
  const TemporaryDirectory directory;
  LiveRelay relay(directory.path(), limitsOf(RelayLimits{}.connectionsPerAddress, twice));
  EXPECT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.status, 101U);
  TestConnection third(relay.port());
  third.write(probe + "\r\n");
  const std::string refused = third.readToEnd().value_or("silence");
  EXPECT_THAT(refused, StartsWith("HTTP/1.1 429 Too Many Requests\r\n"));
  EXPECT_THAT(refused, HasSubstr("\r\nRetry-After: "));
  EXPECT_EQ(TestSocket(relay.port(), "/", "token").status, 429U);
  EXPECT_EQ(TestSocket(relay.port(), "/phone").status, 429U);
  EXPECT_EQ(registered(relay.port(), "P2", "token").status, 429U);
  EXPECT_EQ(phone.next(), testing::message::welcome(false)) << "who is in stays in";
}

TEST(ClientLimits, answerTooManyConnectionsBeforeTheyAskAndCutTheRest) {
  const TemporaryDirectory directory;
  RelayLimits limits = limitsOf(twice, RelayLimits{}.requestsPerAddress);
  limits.politeRefusals = 1;
  LiveRelay relay(directory.path(), limits);
  EXPECT_EQ(askedOver(relay.port(), probe + "\r\n").status, 200U);
  EXPECT_EQ(askedOver(relay.port(), probe + "\r\n").status, 200U);
  TestConnection refused(relay.port());
  const std::string answer = refused.readToEnd().value_or("silence");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 429 "));
  TestConnection cut(relay.port());
  EXPECT_EQ(cut.readToEnd(), "") << "the first is still there to be told";
}

TEST(ClientLimits, countEachClientOfAListedProxyByItself) {
  const TemporaryDirectory directory;
  const RelayLimits limits = limitsOf(twice, twice);
  RelayOptions options;
  options.trustedProxies = {*Network::parsed("127.0.0.1")};
  LiveRelay relay(directory.path(), limits, options);
  const auto asked = [&](const std::string& header) {
    return askedOver(relay.port(), probe + header + "\r\n\r\n").status;
  };
  EXPECT_EQ(asked("X-Forwarded-For: 192.0.2.1"), 200U);
  EXPECT_EQ(asked("Forwarded: for=192.0.2.1"), 200U);
  EXPECT_EQ(asked("X-Forwarded-For: 192.0.2.1"), 429U);
  EXPECT_EQ(asked("X-Forwarded-For: 198.51.100.9, 192.0.2.1"), 429U);
  EXPECT_EQ(asked("X-Forwarded-For: 192.0.2.2"), 200U);
}

TEST(ClientLimits, doNotBelieveHeadersOfAnyoneElse) {
  const TemporaryDirectory directory;
  LiveRelay relay(directory.path(), limitsOf(RelayLimits{}.connectionsPerAddress, twice));
  const auto asked = [&](const std::string& client) {
    return askedOver(relay.port(), probe + "X-Forwarded-For: " + client + "\r\n\r\n").status;
  };
  EXPECT_EQ(asked("192.0.2.1"), 200U);
  EXPECT_EQ(asked("192.0.2.2"), 200U);
  EXPECT_EQ(asked("192.0.2.3"), 429U);
}

}  // namespace
}  // namespace tallyfox::server
