// The relay's way out: sockets leave one after the other, each with its own time to come back, while the relay says
// that it is on its way; and the agent of this product takes the close for what it is.
#include "Drain.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "LiveRelay.hpp"
#include "base/Json.hpp"
#include "relay/RelayFrameDecoder.hpp"

namespace tallyfox::server {
namespace {

using namespace std::chrono_literals;
using testing::askedOver;
using ::testing::HasSubstr;
using testing::HttpAnswer;
using testing::LiveRelay;
using testing::registered;
using ::testing::StartsWith;
using testing::TemporaryDirectory;
using testing::TestConnection;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

const Drain::Time start{std::chrono::hours(1)};

TEST(Drain, takesNoTimeWhenNobodyIsThereAndTenSecondsAtMost) {
  EXPECT_EQ(Drain::usualLength(0), 0s);
  EXPECT_EQ(Drain::usualLength(250), 2500ms);
  EXPECT_EQ(Drain::usualLength(1000), 10s);
  EXPECT_EQ(Drain::usualLength(100'000), 10s);
}

TEST(Drain, letsSocketsGoAtEvenTimes) {
  Drain drain;
  EXPECT_FALSE(drain.isUnderWay());
  drain.begin(start, 10s, 4);
  EXPECT_TRUE(drain.isUnderWay());
  EXPECT_EQ(drain.end(), start + 10s);
  for (std::size_t number = 0; number < 4; ++number)
    EXPECT_EQ(drain.departure(number), start + 2500ms * number);
}

TEST(Drain, bringsNobodyBackBeforeTheEndAndNotMoreThanAHundredASecond) {
  constexpr std::size_t sockets = 20'000;
  Drain drain;
  drain.begin(start, 10s, sockets);
  std::map<std::int64_t, int> arrivals;
  for (std::size_t number = 0; number < sockets; ++number) {
    const auto back = drain.departure(number) + drain.reconnectAfter(drain.departure(number)) - start;
    EXPECT_GE(back, 11s);
    EXPECT_LE(back, 211s + 1ms);
    ++arrivals[std::chrono::floor<std::chrono::seconds>(back).count()];
  }
  EXPECT_GT(arrivals.size(), 150U);
  for (const auto& [second, count] : arrivals)
    EXPECT_LT(count, 200) << "in second " << second;
}

TEST(Drain, tellsLatecomersToWaitForTheNextRelay) {
  Drain drain;
  drain.begin(start, 0s, 0);
  EXPECT_GE(drain.reconnectAfter(start + 5s), 1s);
  EXPECT_LE(drain.reconnectAfter(start + 5s), 2s);
}

class DrainingRelayTest : public ::testing::Test {
 protected:
  static RelayOptions slowly() {
    RelayOptions options;
    options.drainTime = 2s;
    options.metrics = ListenAddress{.address = "127.0.0.1", .port = 0};
    return options;
  }
  [[nodiscard]] HttpAnswer health(std::uint16_t port) const {
    return askedOver(port, "GET /healthz HTTP/1.1\r\nHost: relay\r\n\r\n");
  }
  TemporaryDirectory directory;
};

TEST_F(DrainingRelayTest, tellsEverybodyAndAnswersUntilTheEnd) {
  LiveRelay relay(directory.path(), {}, slowly());
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  EXPECT_EQ(health(relay.port()), (HttpAnswer{.status = 200, .body = "ok\n"}));
  relay.drain();
  EXPECT_EQ(health(relay.port()), (HttpAnswer{.status = 503, .body = "draining\n"}));
  EXPECT_EQ(health(relay.metricsPort()), (HttpAnswer{.status = 503, .body = "draining\n"}));
  TestConnection latecomer(relay.port());
  latecomer.write(
      "GET /phone HTTP/1.1\r\nHost: relay\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
      "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
  const std::string refusal = latecomer.readToEnd().value_or("");
  EXPECT_THAT(refusal, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(refusal, HasSubstr("\r\nRetry-After: "));
  // The agent may go first, and the phone hears of that.
  std::string hint = phone.next();
  if (hint == message::agentStatus(false)) hint = phone.next();
  const auto told = parsedJson(hint);
  ASSERT_TRUE(told) << hint;
  EXPECT_EQ((*told)["type"], "relay.restart");
  EXPECT_GE((*told)["reconnectAfter"].get<double>(), 1.0);
  EXPECT_EQ(phone.next(), "closed 1012");
  EXPECT_THAT(phone.closeReason(), StartsWith("restart, reconnect after "));
  std::string last = agent.next();
  while (last.starts_with("{"))
    last = agent.next();
  EXPECT_EQ(last, "closed 1012");
  relay.awaitEnd();
  EXPECT_THAT(relay.console.text(), HasSubstr("Tallyfox relay draining 2 sockets.\n"));
}

TEST_F(DrainingRelayTest, endsAtOnceWithNobodyThere) {
  LiveRelay relay(directory.path());
  relay.drain();
  relay.awaitEnd();
  EXPECT_THAT(relay.console.text(), HasSubstr("Tallyfox relay stopping.\n"));
}

TEST_F(DrainingRelayTest, isCutShortByAStop) {
  RelayOptions options;
  options.drainTime = 3600s;
  LiveRelay relay(directory.path(), {}, options);
  relay.drain();
  EXPECT_EQ(health(relay.port()).status, 503U);
  relay.stop();
}

TEST(RestartHint, isAFrameThatAgentsIgnore) {
  const auto frame = decodedRelayFrame(tallyfox::bytesOf(R"({"type":"relay.restart","reconnectAfter":12.5})"));
  ASSERT_TRUE(frame);
  EXPECT_TRUE(std::holds_alternative<UnknownRelayFrame>(*frame));
}

}  // namespace
}  // namespace tallyfox::server
