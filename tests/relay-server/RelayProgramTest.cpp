// The program itself: its ready line, its exit codes, its signals, and that kill -9 loses nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

#include "LiveRelay.hpp"
#include "RelayProcess.hpp"

namespace tallyfox::server {
namespace {

using testing::askedOver;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::HttpAnswer;
using testing::registered;
using testing::RelayProcess;
using ::testing::StartsWith;
using testing::TemporaryDirectory;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

std::vector<std::string> listeningAt(const std::filesystem::path& data, const std::string& address = "127.0.0.1:0") {
  return {"--listen", address, "--data", data.string()};
}

TEST(RelayProgram, exitsWithTwoAndOneLineForABadCommandLine) {
  RelayProcess relay({"--listen", "nowhere"});
  EXPECT_THAT(relay.errors.line(), StartsWith("--data is missing; usage: tallyfox-relay "));
  EXPECT_EQ(relay.errors.line(), "");
  EXPECT_EQ(relay.ended(), 2);
}

TEST(RelayProgram, showsHelpAndVersion) {
  RelayProcess help({"--help"});
  EXPECT_THAT(help.output.line(), StartsWith("Usage: tallyfox-relay "));
  EXPECT_EQ(help.ended(), 0);
  RelayProcess version({"--version"});
  EXPECT_THAT(version.output.line(), ::testing::MatchesRegex("tallyfox-relay [0-9]+\\.[0-9]+\\.[0-9]+"));
  EXPECT_EQ(version.ended(), 0);
}

TEST(RelayProgram, exitsWithOneAndOneLineWhenItCannotStart) {
  const TemporaryDirectory directory;
  const auto noDirectory = directory.path() / "file";
  std::ofstream(noDirectory) << "x";
  RelayProcess unwritable(listeningAt(noDirectory));
  EXPECT_THAT(unwritable.errors.line(), StartsWith("Unable to open the database: "));
  EXPECT_EQ(unwritable.ended(), 1);

  const auto damaged = directory.path() / "damaged";
  std::filesystem::create_directory(damaged);
  std::ofstream(damaged / "relay.sqlite") << std::string(5000, 'x');
  RelayProcess corrupt(listeningAt(damaged));
  EXPECT_THAT(corrupt.errors.line(), HasSubstr("not a database"));
  EXPECT_EQ(corrupt.ended(), 1);

  RelayProcess first(listeningAt(directory.path() / "first"));
  const std::string taken = "127.0.0.1:" + std::to_string(first.port());
  RelayProcess second(listeningAt(directory.path() / "second", taken));
  EXPECT_EQ(second.errors.line(), "Unable to listen on " + taken + ": Address already in use");
  EXPECT_EQ(second.ended(), 1);
}

TEST(RelayProgram, makesAKeyForWebPush) {
  const TemporaryDirectory directory;
  const std::string file = (directory.path() / "push.pem").string();
  RelayProcess made({"--make-push-key", file});
  EXPECT_EQ(made.errors.line(), "");
  EXPECT_EQ(made.ended(), 0);
  RelayProcess again({"--make-push-key", file});
  EXPECT_EQ(again.errors.line(), "Unable to create the push key " + file + ": File exists");
  EXPECT_EQ(again.ended(), 1);
  auto arguments = listeningAt(directory.path() / "data");
  arguments.insert(arguments.end(), {"--push-key", file, "--push-contact", "mailto:operator@example.org"});
  RelayProcess relay(arguments);
  EXPECT_NE(relay.port(), 0);
}

TEST(RelayProgram, servesThePageOfItsInstallation) {
  const TemporaryDirectory prefix;
  std::filesystem::create_directories(prefix.path() / "bin");
  std::filesystem::create_directories(prefix.path() / "share/tallyfox-relay/page");
  std::filesystem::copy(TALLYFOX_RELAY_PROGRAM, prefix.path() / "bin/tallyfox-relay");
  std::ofstream(prefix.path() / "share/tallyfox-relay/page/index.html") << "<!doctype html>";
  const std::string ask = "GET / HTTP/1.1\r\nHost: relay\r\nConnection: close\r\n\r\n";
  std::vector<std::string> arguments = listeningAt(prefix.path() / "data");
  {
    RelayProcess relay(arguments, prefix.path() / "bin/tallyfox-relay");
    EXPECT_EQ(askedOver(relay.port(), ask), (HttpAnswer{.status = 200, .body = "<!doctype html>"}));
  }
  arguments.insert(arguments.end(), {"--page", "none"});
  RelayProcess relay(arguments, prefix.path() / "bin/tallyfox-relay");
  EXPECT_EQ(askedOver(relay.port(), ask).status, 404U);
}

TEST(RelayProgram, endsGracefullyOnBothSignals) {
  const TemporaryDirectory directory;
  for (const int number : {SIGTERM, SIGINT}) {
    RelayProcess relay(listeningAt(directory.path()));
    const std::uint16_t port = relay.port();
    ASSERT_EQ(registered(port, "P1", "token").status, 204U);
    TestSocket agent(port, "/", "token");
    EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
    relay.signal(number);
    EXPECT_EQ(agent.next(), "closed 1012");
    EXPECT_EQ(relay.ended(), 0);
  }
}

TEST(RelayProgram, endsAtOnceOnASecondSignal) {
  const TemporaryDirectory directory;
  auto arguments = listeningAt(directory.path());
  arguments.insert(arguments.end(), {"--drain-time", "3600"});
  RelayProcess relay(arguments);
  EXPECT_NE(relay.port(), 0);
  relay.signal(SIGTERM);
  EXPECT_EQ(relay.errors.line(), "Tallyfox relay draining 0 sockets.");
  relay.signal(SIGTERM);
  EXPECT_EQ(relay.ended(), -SIGTERM);
}

TEST(RelayProgram, takesNewSettingsOnHangUpAndKeepsTheOldOnesOfABrokenFile) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "relay.conf";
  const auto data = directory.path() / "data";
  std::ofstream(file) << "# settings\nlisten = 127.0.0.1:0\ndata = " << data.string() << "\n log-level= info\n";
  RelayProcess relay({"--config", file.string()});
  const std::uint16_t port = relay.port();
  ASSERT_EQ(registered(port, "P1", "token").status, 204U);
  EXPECT_EQ(relay.errors.line(), "Pairing P1 registered.");
  std::ofstream(file) << "listen = 127.0.0.1:1\ndata = " << data.string() << "\nlog-format = json\n";
  relay.signal(SIGHUP);
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("event":"relay.reloaded"})"));
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("event":"setting.needs-restart","setting":"listen"})"));
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("event":"setting.changed","setting":"log-level"})"));
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("event":"setting.changed","setting":"log-format"})"));
  std::ofstream(file) << "listen = 127.0.0.1:1\nlog-format = xml\n";
  relay.signal(SIGHUP);
  EXPECT_THAT(relay.errors.line(), HasSubstr(R"("event":"relay.reload-failed","reason":"--data is missing)"));
  ASSERT_EQ(registered(port, "P1", "token").status, 204U);
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("event":"pairing.registered-again","pairing":"P1"})"));
  relay.signal(SIGTERM);
  EXPECT_EQ(relay.ended(), 0);
}

TEST(RelayProgram, opensAndClosesItsMetricsOnHangUp) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "relay.conf";
  std::ofstream(file) << "";
  auto arguments = listeningAt(directory.path() / "data");
  arguments.insert(arguments.end(), {"--config", file.string()});
  RelayProcess relay(arguments);
  const std::uint16_t port = relay.port();
  std::ofstream(file) << "metrics = 127.0.0.1:" << port << "\n";
  relay.signal(SIGHUP);
  EXPECT_EQ(relay.errors.line(),
            "Unable to reload, all settings stay: Unable to listen on 127.0.0.1: Address already in use");
  std::ofstream(file) << "metrics = 127.0.0.1:0\n";
  relay.signal(SIGHUP);
  EXPECT_EQ(relay.errors.line(), "Settings reloaded.");
  EXPECT_EQ(relay.errors.line(), "The setting metrics has changed.");
  std::ofstream(file) << "";
  relay.signal(SIGHUP);
  EXPECT_EQ(relay.errors.line(), "Settings reloaded.");
  EXPECT_EQ(relay.errors.line(), "The setting metrics has changed.");
  relay.signal(SIGTERM);
  EXPECT_EQ(relay.errors.line(), "Tallyfox relay draining 0 sockets.");
  EXPECT_EQ(relay.ended(), 0);
}

/// Where a service manager listens.
class NotificationSocket {
 public:
  explicit NotificationSocket(const std::filesystem::path& path)
      : descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      throw std::runtime_error("no socket");
  }
  ~NotificationSocket() { close(descriptor_); }
  NotificationSocket(const NotificationSocket&) = delete;
  NotificationSocket& operator=(const NotificationSocket&) = delete;
  std::string next() {
    pollfd waiting{.fd = descriptor_, .events = POLLIN, .revents = 0};
    std::array<char, 256> text{};
    if (poll(&waiting, 1, 20'000) <= 0) return "silence";
    const auto size = recv(descriptor_, text.data(), text.size(), 0);
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

 private:
  int descriptor_;
};

TEST(RelayProgram, tellsTheServiceManagerHowItStands) {
  const TemporaryDirectory directory;
  NotificationSocket manager(directory.path() / "notify");
  setenv("NOTIFY_SOCKET", (directory.path() / "notify").c_str(), 1);
  RelayProcess relay(listeningAt(directory.path() / "data"));
  unsetenv("NOTIFY_SOCKET");
  EXPECT_EQ(manager.next(), "READY=1");
  relay.signal(SIGHUP);
  EXPECT_EQ(manager.next(), "RELOADING=1");
  EXPECT_EQ(manager.next(), "READY=1");
  relay.signal(SIGTERM);
  EXPECT_EQ(manager.next(), "STOPPING=1");
  EXPECT_EQ(relay.ended(), 0);
}

TEST(RelayProgram, logsObjectsAndReloadsOnHangUp) {
  const TemporaryDirectory directory;
  auto arguments = listeningAt(directory.path());
  arguments.insert(arguments.end(), {"--log-format", "json"});
  RelayProcess relay(arguments);
  const std::uint16_t port = relay.port();
  ASSERT_EQ(registered(port, "P1", "token").status, 204U);
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("level":"info","event":"pairing.registered","pairing":"P1"})"));
  relay.signal(SIGHUP);
  EXPECT_THAT(relay.errors.line(), EndsWith(R"("event":"relay.reloaded"})"));
  EXPECT_EQ(registered(port, "P1", "token").status, 204U);
  relay.signal(SIGTERM);
  EXPECT_EQ(relay.ended(), 0);
}

TEST(RelayProgram, isRestartedAfterKillNineWithAllItsData) {
  const TemporaryDirectory directory;
  RelayProcess killed(listeningAt(directory.path()));
  const std::uint16_t port = killed.port();
  ASSERT_EQ(registered(port, "P1", "token").status, 204U);
  ASSERT_EQ(registered(port, "P2", "token-2").status, 204U);
  TestSocket agent(port, "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  TestPhone first(port, "P1", "token", "D1");
  EXPECT_EQ(first.next(), message::welcome(true));
  TestPhone second(port, "P1", "token", "D2");
  EXPECT_EQ(second.next(), message::welcome(true));
  agent.send(message::unpair("D1"));
  EXPECT_EQ(first.next(), message::unpaired);
  TestSocket otherAgent(port, "/", "token-2");
  EXPECT_THAT(otherAgent.next(), HasSubstr("phone.status"));
  otherAgent.send(message::unpairAll);
  EXPECT_EQ(otherAgent.next(), "closed 4410");
  killed.signal(SIGKILL);
  EXPECT_EQ(killed.ended(), -SIGKILL);

  RelayProcess relay(listeningAt(directory.path(), "127.0.0.1:" + std::to_string(port)));
  ASSERT_EQ(relay.port(), port);
  EXPECT_EQ(registered(port, "P1", "other").status, 401U);
  EXPECT_EQ(registered(port, "P1", "token").status, 204U);
  EXPECT_EQ(registered(port, "P2", "token-2").status, 410U);
  TestSocket again(port, "/", "token");
  const std::string status = again.next();
  EXPECT_THAT(status, HasSubstr("\"phoneCount\":1"));
  EXPECT_THAT(status, HasSubstr("\"D2\""));
  EXPECT_EQ(TestPhone(port, "P1", "token", "D1").next(), "closed 4410");
}

}  // namespace
}  // namespace tallyfox::server
