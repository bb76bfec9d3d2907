// The relay over real loopback sockets: HTTP answers, limits in size and time, and the graceful end.
#include "RelayServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>

#include "LiveRelay.hpp"
#include "base/HttpDate.hpp"

namespace tallyfox::server {
namespace {

using testing::askedOver;
using ::testing::HasSubstr;
using testing::HttpAnswer;
using testing::LiveRelay;
using ::testing::Not;
using testing::registered;
using ::testing::StartsWith;
using testing::TemporaryDirectory;
using testing::TestConnection;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

class RelayServerTest : public ::testing::Test {
 protected:
  TemporaryDirectory directory;
};

TEST_F(RelayServerTest, answersEveryKindOfRegistration) {
  LiveRelay relay(directory.path());
  EXPECT_EQ(registered(relay.port(), "P1", "token"), (HttpAnswer{.status = 204}));
  EXPECT_EQ(registered(relay.port(), "P1", "token"), (HttpAnswer{.status = 204}));
  EXPECT_EQ(registered(relay.port(), "P1", "other").status, 401U);
  EXPECT_EQ(registered(relay.port(), "P.1", "token").status, 400U);
  EXPECT_EQ(askedOver(relay.port(), "POST /api/pairings/P1/relay-token HTTP/1.1\r\nHost: relay\r\n\r\n").status, 405U);
  EXPECT_EQ(askedOver(relay.port(), "GET /other HTTP/1.1\r\nHost: relay\r\n\r\n").status, 404U);
  EXPECT_EQ(askedOver(relay.port(), "GET /healthz HTTP/1.1\r\nHost: relay\r\n\r\n"),
            (HttpAnswer{.status = 200, .body = "ok\n"}));
}

TEST_F(RelayServerTest, tellsItsTime) {
  LiveRelay relay(directory.path());
  TestConnection connection(relay.port());
  connection.write("GET /healthz HTTP/1.1\r\nHost: relay\r\n\r\n");
  const std::string answer = connection.readToEnd().value_or("");
  const std::size_t start = answer.find("Date: ");
  ASSERT_NE(start, std::string::npos) << answer;
  const auto told = parsedHttpDate(answer.substr(start + 6, answer.find("\r\n", start) - start - 6));
  ASSERT_TRUE(told.has_value()) << answer;
  EXPECT_LT(std::chrono::abs(*told - std::chrono::system_clock::now()), std::chrono::minutes(2));
}

TEST_F(RelayServerTest, refusesABodyAboveFourKibibytesDeclaredOrChunked) {
  LiveRelay relay(directory.path());
  const std::string head =
      "PUT /api/pairings/P1/relay-token HTTP/1.1\r\nHost: relay\r\nauthorization: Bearer token\r\n";
  EXPECT_EQ(askedOver(relay.port(), head + "Content-Length: 4097\r\n\r\n" + std::string(4097, ' ')).status, 413U);
  EXPECT_EQ(askedOver(relay.port(), head + "Content-Length: 500000\r\n\r\n" + std::string(500000, ' ')).status, 413U);
  EXPECT_EQ(askedOver(relay.port(),
                      head + "Transfer-Encoding: chunked\r\n\r\n1001\r\n" + std::string(4097, ' ') + "\r\n0\r\n\r\n")
                .status,
            413U);
  EXPECT_EQ(askedOver(relay.port(),
                      head + "Content-Length: 4096\r\n\r\n{\"client\":\"mac\",\"version\":1}" + std::string(4068, ' '))
                .status,
            204U);
}

TEST_F(RelayServerTest, refusesWhatIsNoHttpAndHeadersThatAreTooLong) {
  LiveRelay relay(directory.path());
  EXPECT_EQ(askedOver(relay.port(), "this is no request\r\n\r\n").status, 400U);
  EXPECT_EQ(askedOver(relay.port(), "GET / HTTP/1.1\r\nx: " + std::string(9000, 'x') + "\r\n\r\n").status, 431U);
}

TEST_F(RelayServerTest, cutsAClientWhoseRequestDoesNotCome) {
  RelayLimits limits;
  limits.requestTime = std::chrono::milliseconds(200);
  LiveRelay relay(directory.path(), limits);
  TestConnection silent(relay.port());
  EXPECT_EQ(silent.readToEnd(), "");
  TestConnection slow(relay.port());
  slow.write("GET /healthz HTTP/1.1\r\nHost:");
  EXPECT_EQ(slow.readToEnd(), "");
  TestConnection bodyless(relay.port());
  bodyless.write("PUT /api/pairings/P1/relay-token HTTP/1.1\r\nContent-Length: 28\r\n\r\n{");
  EXPECT_EQ(bodyless.readToEnd(), "");
}

TEST_F(RelayServerTest, turnsTheOldestStrangerAwayWith503) {
  RelayLimits limits;
  limits.unauthenticatedConnections = 2;
  LiveRelay relay(directory.path(), limits);
  TestConnection first(relay.port());
  TestConnection second(relay.port());
  TestConnection third(relay.port());
  EXPECT_THAT(first.readToEnd().value_or("silence"), StartsWith("HTTP/1.1 503 "));
  second.write("GET /healthz HTTP/1.1\r\nHost: relay\r\n\r\n");
  EXPECT_THAT(second.readToEnd().value_or("silence"), StartsWith("HTTP/1.1 200 "));
}

TEST_F(RelayServerTest, turnsAPhoneAwayThatKeepsSilentWhileOthersCome) {
  RelayLimits limits;
  limits.unauthenticatedConnections = 1;
  LiveRelay relay(directory.path(), limits);
  TestSocket phone(relay.port(), "/phone");
  ASSERT_EQ(phone.status, 101U);
  const TestConnection stranger(relay.port());
  EXPECT_EQ(phone.next(), "closed 1013");
}

TEST_F(RelayServerTest, authenticatedPeersAreNotStrangers) {
  RelayLimits limits;
  limits.unauthenticatedConnections = 1;
  LiveRelay relay(directory.path(), limits);
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestSocket agent(relay.port(), "/", "token");
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  const TestConnection first(relay.port()), second(relay.port()), third(relay.port());
  phone.send(message::request("R1"));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  EXPECT_EQ(agent.next(), message::request("R1"));
}

TEST_F(RelayServerTest, failedWriteGives500AndTheRelayLivesOn) {
  LiveRelay relay(directory.path());
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  // No file may grow any more: what a full disk does, for this process alone.
  rlimit unlimited{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit none = unlimited;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
  const HttpAnswer failed = registered(relay.port(), "P2", "token-2");
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
  EXPECT_EQ(failed.status, 500U);
  EXPECT_THAT(relay.console.text(), HasSubstr("Unable to store a registration: "));
  EXPECT_EQ(registered(relay.port(), "P2", "token-2").status, 204U);
  EXPECT_EQ(registered(relay.port(), "P1", "token").status, 204U);
}

TEST_F(RelayServerTest, stopsWith1001ForEveryoneAndKeepsItsData) {
  RelayLimits limits;
  limits.closeTime = std::chrono::milliseconds(2'000);
  std::optional<LiveRelay> relay(std::in_place, directory.path(), limits);
  ASSERT_EQ(registered(relay->port(), "P1", "token").status, 204U);
  TestSocket agent(relay->port(), "/", "token");
  TestPhone phone(relay->port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  TestSocket unannounced(relay->port(), "/phone");
  TestConnection silent(relay->port());
  std::thread stopping([&] { relay->stop(); });
  EXPECT_EQ(agent.next(), "closed 1001");
  EXPECT_EQ(phone.next(), "closed 1001");
  EXPECT_EQ(unannounced.next(), "closed 1001");
  EXPECT_TRUE(silent.readToEnd());
  stopping.join();

  relay.emplace(directory.path());
  EXPECT_EQ(registered(relay->port(), "P1", "other").status, 401U);
  TestSocket again(relay->port(), "/", "token");
  EXPECT_THAT(again.next(), HasSubstr(R"("deviceName":"Name of D1")"));
}

TEST_F(RelayServerTest, saysWhenThePortIsTaken) {
  const LiveRelay relay(directory.path());
  const TemporaryDirectory otherDirectory;
  testing::RecordedConsole console;
  const auto second = RelayServer::open(
      {.address = "127.0.0.1", .port = relay.port(), .dataDirectory = otherDirectory.path()}, {}, console);
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error(),
            "Unable to listen on 127.0.0.1:" + std::to_string(relay.port()) + ": Address already in use");
}

TEST_F(RelayServerTest, logsNoSecrets) {
  LiveRelay relay(directory.path());
  ASSERT_EQ(registered(relay.port(), "P1", "top-secret-token").status, 204U);
  ASSERT_EQ(registered(relay.port(), "P1", "bad-secret-token").status, 401U);
  const TestSocket refused(relay.port(), "/", "bad-secret-token");
  EXPECT_EQ(refused.status, 401U);
  TestPhone phone(relay.port(), "P1", "top-secret-token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(false));
  TestPhone wrong(relay.port(), "P1", "bad-secret-token", "D2");
  EXPECT_EQ(wrong.next(), "closed 4401");
  EXPECT_THAT(relay.console.text(), HasSubstr("Phone D2 of pairing P1 refused with 4401."));
  for (const char* secret : {"secret", "Name of"})
    EXPECT_THAT(relay.console.text(), Not(HasSubstr(secret)));
}

}  // namespace
}  // namespace tallyfox::server
