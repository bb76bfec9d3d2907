// Requests to push services: what they hold, how they are gathered, repeated, bounded and given up.
#include "push/PushSender.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>

#include "TemporaryDirectory.hpp"
#include "TestPushServer.hpp"
#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::TestPushServer;
using Kind = PushOutcome::Kind;

const std::string created = "HTTP/1.1 201 Created\r\nContent-Length: 0\r\n\r\n";

std::string answer(const std::string& status, const std::string& headers = "") {
  return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: 0\r\n\r\n";
}

/// Knows one endpoint for all phones, and what became of each.
class Recipients final : public PushRecipients {
 public:
  asio::awaitable<std::optional<PushEndpoint>> endpoint(const PhoneAddress&) override {
    ++asked;
    if (beforeEach) beforeEach();
    co_return target.empty() ? std::nullopt : PushEndpoint::parsed(target);
  }
  asio::awaitable<void> ended(const PhoneAddress& phone, const PushEndpoint&, const PushOutcome& outcome) override {
    outcomes.push_back(outcome);
    ended_.push_back(phone.deviceID);
    co_return;
  }
  [[nodiscard]] std::vector<Kind> kinds() const {
    std::vector<Kind> all;
    for (const PushOutcome& outcome : outcomes)
      all.push_back(outcome.kind);
    return all;
  }

  std::string target;
  std::function<void()> beforeEach;
  int asked = 0;
  std::vector<PushOutcome> outcomes;
  std::vector<std::string> ended_;
};

class PushSenderTest : public ::testing::Test {
 protected:
  PushSenderTest() {
    options.key = directory.path() / "push.pem";
    options.contact = "mailto:operator@example.org";
    options.services = {{.host = "localhost", .port = server.port()}};
    options.authorities = authority.certificate();
    limits.interval = limits.retryDelay = std::chrono::milliseconds(1);
    recipients.target = server.endpoint("/send/secret?id=1");
    if (!VapidKey::create(options.key)) throw std::runtime_error("no key");
  }
  /// Wakes the phones and waits until nothing is under way any more.
  void run(const std::vector<std::string>& devices) {
    start();
    for (const std::string& device : devices)
      accepted.push_back(sender->wake({.pairingID = "P1", .deviceID = device}));
    io.run();
  }
  void start() {
    auto made = PushClient::make(options, limits);
    if (!made) throw std::runtime_error(made.error());
    client = std::move(*made);
    sender.emplace(io.get_executor(), *client, recipients);
  }

  testing::TemporaryDirectory directory;
  testing::TestAuthority authority{directory.path()};
  TestPushServer server{authority.issue("service")};
  PushOptions options;
  PushLimits limits;
  Recipients recipients;
  asio::io_context io;
  std::unique_ptr<PushClient> client;
  std::optional<PushSender> sender;
  std::vector<bool> accepted;
};

TEST_F(PushSenderTest, asksByAnEmptyRequestThatProvesItsSender) {
  run({"D1"});
  EXPECT_THAT(recipients.kinds(), ElementsAre(Kind::accepted));
  const auto request = server.next();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/send/secret?id=1");
  EXPECT_EQ(request.body, "");
  EXPECT_EQ(request.headers.at("content-length"), "0");
  EXPECT_EQ(request.headers.at("host"), "localhost:" + std::to_string(server.port()));
  EXPECT_EQ(request.headers.at("ttl"), "3600");
  EXPECT_EQ(request.headers.at("urgency"), "high");
  EXPECT_EQ(request.headers.at("topic"), pushTopic("P1"));
  const auto vapid = testing::verifiedVapid(request.headers.at("authorization"));
  EXPECT_EQ(vapid.key, client->publicKey());
  const Json claims = *parsedJson(vapid.claims);
  EXPECT_EQ(claims.at("aud"), "https://localhost:" + std::to_string(server.port()));
  EXPECT_EQ(claims.at("sub"), "mailto:operator@example.org");
  const auto now =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  EXPECT_GT(claims.at("exp").get<std::int64_t>(), now);
  EXPECT_LT(claims.at("exp").get<std::int64_t>(), now + 12 * 3600);
}

TEST_F(PushSenderTest, namesAPairingByATopicThatTellsNothing) {
  EXPECT_EQ(pushTopic("P1").size(), 32U);
  EXPECT_NE(pushTopic("P1"), pushTopic("P2"));
  EXPECT_EQ(pushTopic("P1").find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
            std::string::npos);
}

TEST_F(PushSenderTest, gathersWhatComesMeanwhile) {
  // Twice more while the first request is under way: one more request.
  recipients.beforeEach = [this] {
    if (recipients.asked > 1) return;
    sender->wake({.pairingID = "P1", .deviceID = "D1"});
    sender->wake({.pairingID = "P1", .deviceID = "D1"});
  };
  run({"D1", "D1", "D1"});
  EXPECT_EQ(recipients.asked, 2);
  EXPECT_EQ(server.waiting(), 2U);
}

TEST_F(PushSenderTest, asksNobodyWhoNeedNotBeAskedAnyMore) {
  recipients.target = "";
  run({"D1"});
  EXPECT_EQ(recipients.asked, 1);
  EXPECT_EQ(server.waiting(), 0U);
  EXPECT_THAT(recipients.outcomes, IsEmpty());
}

TEST_F(PushSenderTest, tellsWhatBecameOfARequest) {
  const std::vector<std::pair<std::string, Kind>> cases{
      {"200 OK", Kind::accepted},  {"202 Accepted", Kind::accepted},   {"404 Not Found", Kind::gone},
      {"410 Gone", Kind::gone},    {"400 Bad Request", Kind::refused}, {"401 Unauthorized", Kind::refused},
      {"413 Long", Kind::refused}, {"307 Elsewhere", Kind::refused}};
  std::vector<Kind> expected;
  std::vector<std::string> devices;
  for (const auto& [status, kind] : cases) {
    server.answerWith(answer(status, "Location: https://localhost:1/\r\n"));
    expected.push_back(kind);
    devices.push_back("D" + std::to_string(devices.size()));
  }
  limits.requests = 1;
  run(devices);
  EXPECT_EQ(recipients.kinds(), expected);
  EXPECT_EQ(recipients.outcomes.back().reason, "307");
  EXPECT_EQ(server.waiting(), cases.size()) << "each was sent once";
}

TEST_F(PushSenderTest, comesAgainWhenAServiceIsBusy) {
  server.answerWith(answer("503 Busy"));
  server.answerWith(answer("429 Slow", "Retry-After: 0\r\n"));
  server.answerWith(answer("500 Broken", "Retry-After: Sun, 06 Nov 1994 08:49:37 GMT\r\n"));
  run({"D1"});
  EXPECT_THAT(recipients.kinds(), ElementsAre(Kind::accepted));
  EXPECT_EQ(server.waiting(), 4U);
}

TEST_F(PushSenderTest, givesUpAfterABoundedNumberOfTimes) {
  for (int count = 0; count < 10; ++count)
    server.answerWith(answer("503 Busy", "Retry-After: soon\r\n"));
  run({"D1"});
  EXPECT_THAT(recipients.kinds(), ElementsAre(Kind::later));
  EXPECT_EQ(server.waiting(), limits.attempts);
}

TEST_F(PushSenderTest, givesUpWhenAServiceWantsToBeLeftAloneForLong) {
  server.answerWith(answer("429 Slow", "Retry-After: 3600\r\n"));
  start();
  sender->wake({.pairingID = "P1", .deviceID = "D1"});
  while (recipients.outcomes.empty())
    io.run_one();
  EXPECT_EQ(recipients.outcomes.front().retryAfter, std::chrono::seconds(3600));
  EXPECT_TRUE(sender->wake({.pairingID = "P1", .deviceID = "D1"})) << "after that hour";
  io.poll();
  EXPECT_EQ(recipients.asked, 1);
  sender->stop();
  io.run();
}

TEST_F(PushSenderTest, endsARequestThatIsNotAnsweredInTime) {
  limits.requestTime = std::chrono::milliseconds(300);
  limits.attempts = 1;
  server.answerWith(TestPushServer::silence);
  run({"D1"});
  ASSERT_THAT(recipients.kinds(), ElementsAre(Kind::later));
  EXPECT_EQ(recipients.outcomes.front().reason, "no answer in time");
}

TEST_F(PushSenderTest, tellsNobodyElse) {
  limits.attempts = 1;
  const testing::TemporaryDirectory elsewhere;
  const testing::TestAuthority other(elsewhere.path());
  options.authorities = other.certificate();
  run({"D1"});
  ASSERT_THAT(recipients.kinds(), ElementsAre(Kind::later));
  EXPECT_THAT(recipients.outcomes.front().reason, HasSubstr("certificate verify failed"));
  EXPECT_EQ(server.waiting(), 0U);
}

TEST_F(PushSenderTest, provesTheNameOfTheService) {
  limits.attempts = 1;
  // The certificate is for localhost and 127.0.0.1.
  options.services = {{.host = "127.0.0.2", .port = server.port()}};
  recipients.target = "https://127.0.0.2:" + std::to_string(server.port()) + "/";
  run({"D1"});
  EXPECT_THAT(recipients.kinds(), ElementsAre(Kind::later));
  EXPECT_EQ(server.waiting(), 0U);
}

TEST_F(PushSenderTest, asksNoInnerAddressThatTheOperatorDidNotName) {
  options.services = {{.host = "*.0.0.1", .port = server.port()}};
  recipients.target = "https://127.0.0.1:" + std::to_string(server.port()) + "/";
  run({"D1"});
  ASSERT_THAT(recipients.kinds(), ElementsAre(Kind::refused));
  EXPECT_EQ(recipients.outcomes.front().reason, "no public address");
  EXPECT_EQ(server.greatestConnections(), 0U);
}

TEST_F(PushSenderTest, asksNoServiceThatIsNotListedAnyMore) {
  options.services = {{.host = "push.example"}};
  run({"D1"});
  EXPECT_THAT(recipients.outcomes, IsEmpty());
  EXPECT_EQ(server.greatestConnections(), 0U);
}

TEST_F(PushSenderTest, hasABoundedNumberOfRequestsAtOnce) {
  limits.requests = 2;
  run({"D1", "D2", "D3", "D4", "D5", "D6"});
  EXPECT_EQ(server.waiting(), 6U);
  EXPECT_THAT(recipients.ended_, ::testing::UnorderedElementsAre("D1", "D2", "D3", "D4", "D5", "D6"));
  EXPECT_LE(server.greatestConnections(), 3U) << "the server may see an end late";
}

TEST_F(PushSenderTest, asksABoundedNumberOfPhones) {
  limits.phones = 2;
  run({"D1", "D2", "D3", "D1"});
  EXPECT_THAT(accepted, ElementsAre(true, true, false, true));
  EXPECT_EQ(server.waiting(), 2U);
}

TEST_F(PushSenderTest, leavesNothingUnderWayWhenItStops) {
  limits.requests = 1;
  server.answerWith(TestPushServer::silence);
  start();
  for (const char* device : {"D1", "D2", "D3"})
    sender->wake({.pairingID = "P1", .deviceID = device});
  while (server.waiting() == 0)
    io.run_one_for(std::chrono::milliseconds(10));
  sender->stop();
  io.run();
  EXPECT_THAT(recipients.outcomes, IsEmpty());
  EXPECT_EQ(server.waiting(), 1U);
  EXPECT_FALSE(sender->wake({.pairingID = "P1", .deviceID = "D4"}));
}

}  // namespace
}  // namespace tallyfox::server
