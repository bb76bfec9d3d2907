// The phone page over real loopback sockets: kept connections, their bounds, and who may open a phone's socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "LiveRelay.hpp"
#include "RelayServer.hpp"

namespace tallyfox::server {
namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::LiveRelay;
using ::testing::Not;
using ::testing::StartsWith;
using testing::TestConnection;

class PageServingTest : public ::testing::Test {
 protected:
  PageServingTest() {
    options.pageDirectory = directory.path() / "page";
    fs::create_directories(options.pageDirectory->string() + "/assets");
    std::ofstream(*options.pageDirectory / "index.html") << "<!doctype html>";
    std::ofstream(*options.pageDirectory / "assets/main.js") << std::string(200'000, ' ') << "let x;";
  }
  static std::string get(const std::string& path, const std::string& more = "") {
    return "GET " + path + " HTTP/1.1\r\nHost: relay\r\n" + more + "\r\n";
  }

  testing::TemporaryDirectory directory;
  fs::path data = directory.path() / "data";
  RelayOptions options;
};

TEST_F(PageServingTest, answersManyRequestsOfOneConnection) {
  LiveRelay relay(data, {}, options);
  TestConnection connection(relay.port());
  connection.write(get("/"));
  const std::string index = connection.readAnswer().value_or("silence");
  EXPECT_THAT(index, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(index, HasSubstr("\r\nDate: "));
  EXPECT_THAT(index, EndsWith("\r\n\r\n<!doctype html>"));
  connection.write(get("/assets/main.js"));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), EndsWith("let x;"));
  connection.write("HEAD /assets/main.js HTTP/1.1\r\nHost: relay\r\n\r\n");
  EXPECT_THAT(connection.readAnswer(false).value_or("silence"), HasSubstr("\r\nContent-Length: 200006\r\n"));
  connection.write(get("/page-config.json"));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), EndsWith("\r\n\r\n{\"version\":1,\"pushKey\":null}"));
}

TEST_F(PageServingTest, answersRequestsThatWereSentAhead) {
  LiveRelay relay(data, {}, options);
  TestConnection connection(relay.port());
  connection.write(get("/") + get("/page-config.json") + get("/", "Connection: close\r\n"));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), EndsWith("<!doctype html>"));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), EndsWith("null}"));
  const std::string last = connection.readToEnd().value_or("open");
  EXPECT_THAT(last, HasSubstr("\r\nConnection: close\r\n"));
  EXPECT_THAT(last, EndsWith("<!doctype html>"));
}

TEST_F(PageServingTest, closesAfterEveryOtherAnswer) {
  LiveRelay relay(data, {}, options);
  for (const char* path : {"/other", "/healthz", "/assets", "/phone"}) {
    TestConnection connection(relay.port());
    connection.write(get("/") + get(path) + get("/"));
    EXPECT_THAT(connection.readAnswer().value_or("silence"), StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(connection.readToEnd().value_or("open"), Not(HasSubstr("<!doctype html>"))) << path;
  }
  TestConnection old(relay.port());
  old.write("GET / HTTP/1.0\r\n\r\n");
  EXPECT_THAT(old.readToEnd().value_or("open"), EndsWith("<!doctype html>"));
}

TEST_F(PageServingTest, keepsAConnectionForABoundedNumberOfRequests) {
  RelayLimits limits;
  limits.requestsPerConnection = 2;
  LiveRelay relay(data, limits, options);
  TestConnection connection(relay.port());
  connection.write(get("/") + get("/") + get("/"));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), Not(HasSubstr("\r\nConnection: close\r\n")));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), HasSubstr("\r\nConnection: close\r\n"));
  EXPECT_EQ(connection.readToEnd(), "");
}

TEST_F(PageServingTest, keepsAConnectionForABoundedTime) {
  RelayLimits limits;
  limits.keepAliveTime = std::chrono::milliseconds(100);
  LiveRelay idle(data / "idle", limits, options);
  TestConnection kept(idle.port());
  kept.write(get("/"));
  EXPECT_THAT(kept.readAnswer().value_or("silence"), Not(HasSubstr("\r\nConnection: close\r\n")));
  EXPECT_EQ(kept.readToEnd(), "");

  limits.keepAliveTime = std::chrono::milliseconds(1'000);
  limits.pageTime = std::chrono::milliseconds(500);
  LiveRelay hurried(data / "hurried", limits, options);
  TestConnection late(hurried.port());
  late.write(get("/"));
  EXPECT_THAT(late.readToEnd().value_or("open"), HasSubstr("\r\nConnection: close\r\n"));
}

TEST_F(PageServingTest, turnsAKeptConnectionAwayWhenStrangersCome) {
  RelayLimits limits;
  limits.unauthenticatedConnections = 1;
  LiveRelay relay(data, limits, options);
  TestConnection kept(relay.port());
  kept.write(get("/"));
  EXPECT_THAT(kept.readAnswer().value_or("silence"), StartsWith("HTTP/1.1 200 "));
  const TestConnection stranger(relay.port());
  EXPECT_EQ(kept.readToEnd(), "");
}

TEST_F(PageServingTest, limitsTheRequestsOfAKeptConnection) {
  RelayLimits limits;
  limits.requestsPerAddress = {.burst = 2, .perSecond = 0.001};
  LiveRelay relay(data, limits, options);
  TestConnection connection(relay.port());
  connection.write(get("/") + get("/") + get("/"));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(connection.readAnswer().value_or("silence"), StartsWith("HTTP/1.1 200 "));
  EXPECT_THAT(connection.readToEnd().value_or("open"), StartsWith("HTTP/1.1 429 "));
}

TEST_F(PageServingTest, opensAPhonesSocketForItsOwnPageAndForNoOther) {
  LiveRelay relay(data, {}, options);
  const auto upgraded = [&](const std::string& origin) {
    TestConnection connection(relay.port());
    connection.write(get("/phone", origin + "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                                            "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"));
    return connection.readAnswer(false).value_or("silence").substr(0, 12);
  };
  EXPECT_EQ(upgraded(""), "HTTP/1.1 101");
  EXPECT_EQ(upgraded("Origin: http://relay\r\n"), "HTTP/1.1 101");
  EXPECT_EQ(upgraded("Origin: http://evil.example\r\n"), "HTTP/1.1 403");
  EXPECT_EQ(upgraded("Origin: null\r\n"), "HTTP/1.1 403");
}

TEST_F(PageServingTest, doesNotStartWithoutThePageThatItWasTold) {
  fs::remove(*options.pageDirectory / "index.html");
  testing::RecordedConsole console;
  options.address = "127.0.0.1";
  options.dataDirectory = data;
  const auto relay = RelayServer::open(options, {}, console);
  ASSERT_FALSE(relay);
  EXPECT_EQ(relay.error(), "Unable to serve the page: " + options.pageDirectory->string() + " has no index.html");
}

TEST_F(PageServingTest, isOffWithoutADirectory) {
  LiveRelay relay(data);
  EXPECT_EQ(testing::askedOver(relay.port(), get("/")).status, 404U);
  EXPECT_EQ(testing::askedOver(relay.port(), get("/page-config.json")).status, 404U);
}

}  // namespace
}  // namespace tallyfox::server
