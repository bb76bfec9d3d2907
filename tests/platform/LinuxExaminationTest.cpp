// All questions of the doctor at once: a machine that has nothing is told as such, and what never answers costs no more
// than the time set for everything.

#include "platform/linux/LinuxExamination.hpp"

#include <gtest/gtest.h>

#include <latch>

#include "model/ControlAnswer.hpp"
#include "platform/ControlSocketFixture.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/PrivateBus.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::linux_os {
namespace {

using namespace testing_network;
using State = DoctorFacts::Agent::State;

/// Takes commands as an agent does, and answers each with the same line, or with nothing.
class FakeAgent {
 public:
  FakeAgent(const UserDirectories& directories, std::string answer)
      : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const auto directory = controlDirectory(directories, true).value();
    const sockaddr_un address = socketAddress(directory, controlSocketName);
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(listener_.get(), 4), 0);
    if (answer.empty()) return;
    thread_ = std::thread([this, answer = answer + "\n"] {
      for (;;) {
        const posix_os::FileDescriptor client(::accept(listener_.get(), nullptr, nullptr));
        if (!client) return;
        std::array<char, 1024> request{};
        if (::recv(client.get(), request.data(), request.size(), 0) <= 0) continue;
        EXPECT_GT(::send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL), 0);
      }
    });
  }
  ~FakeAgent() {
    ::shutdown(listener_.get(), SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
  }

 private:
  posix_os::FileDescriptor listener_;
  std::thread thread_;
};

std::string statusAnswer(const Json& status) {
  return jsonText(ControlAnswer{.ok = true, .text = "Fine.", .status = status}.json());
}

DoctorFacts::Agent agentAnswering(const std::string& answer) {
  const ControlFolder folder;
  const FakeAgent agent(folder.directories, answer);
  return examinedAgent(folder.directories);
}

TEST(ExaminedAgent, isAskedForItsVersionAndItsRelay) {
  EXPECT_EQ(
      agentAnswering(statusAnswer({{"agentVersion", "0.1.0"}, {"relayConfigured", true}, {"relayConnected", true}})),
      (DoctorFacts::Agent{State::running, "0.1.0", true, true}));
  EXPECT_EQ(agentAnswering(statusAnswer({{"relayConfigured", true}})),
            (DoctorFacts::Agent{State::running, "", true, false}))
      << "an older one";
  EXPECT_EQ(agentAnswering(R"({"version":9,"ok":false,"text":"This agent takes commands of version 9, not 1."})"),
            (DoctorFacts::Agent{.state = State::running}));
  EXPECT_EQ(agentAnswering("nonsense"), (DoctorFacts::Agent{.state = State::running}));
  EXPECT_EQ(agentAnswering(statusAnswer({{"agentVersion", 3}})), (DoctorFacts::Agent{.state = State::running}));
}

TEST(ExaminedAgent, isMissedOrSilent) {
  const ControlFolder folder;
  EXPECT_EQ(examinedAgent(folder.directories).state, State::none);
  EXPECT_TRUE(std::filesystem::is_empty(folder.folder.path())) << "nothing is made by the look";
  EXPECT_EQ(agentAnswering("").state, State::silent);
}

TEST(ExaminedPlaces, comeFromTheEnvironment) {
  memory::MemoryEnvironment environment;
  environment.set("DISPLAY", ":7");
  environment.set("DBUS_SESSION_BUS_ADDRESS", "unix:path=/run/bus");
  environment.set("HOME", "/home/kim");
  const auto places = ExaminedPlaces::from(environment);
  EXPECT_EQ(places.display, ":7");
  EXPECT_EQ(places.sessionBusAddress, "unix:path=/run/bus");
  EXPECT_EQ(places.directories.home, "/home/kim");
  EXPECT_FALSE(places.isWaylandSession);
  environment.set("XDG_SESSION_TYPE", "wayland");
  EXPECT_TRUE(ExaminedPlaces::from(environment).isWaylandSession);
  environment.set("XDG_SESSION_TYPE", "x11");
  environment.set("WAYLAND_DISPLAY", "wayland-0");
  EXPECT_TRUE(ExaminedPlaces::from(environment).isWaylandSession);
}

TEST(AsideQuestion, isGivenUpWhenItsTimeIsOver) {
  const auto now = std::chrono::steady_clock::now;
  EXPECT_EQ(AsideQuestion<int>("quick", [] { return 7; }).answerBy(now() + std::chrono::seconds(20)), 7);
  const auto end = std::make_shared<std::latch>(1);
  AsideQuestion<int> endless("endless", [end] {
    end->wait();
    return 7;
  });
  EXPECT_EQ(endless.answerBy(now() + std::chrono::milliseconds(50)), std::nullopt);
  end->count_down();
}

TEST(LinuxExamination, findsAMachineThatHasNothing) {
  const ControlFolder folder;
  LinuxExamination examination(
      {.display = std::nullopt, .sessionBusAddress = "unix:path=/nonexistent/bus", .directories = folder.directories},
      std::nullopt);
  const DoctorFacts facts = examination.facts();
  EXPECT_FALSE(facts.isAccessibilityOn.has_value());
  EXPECT_FALSE(facts.accessibilityBus.has_value());
  EXPECT_FALSE(facts.notifications.has_value());
  EXPECT_FALSE(facts.statusNotifiers.has_value());
  EXPECT_EQ(facts.display.error(), "The variable DISPLAY is not set.");
  EXPECT_EQ(facts.agent.state, State::none);
  EXPECT_FALSE(facts.relayHost.has_value());
  EXPECT_FALSE(facts.registration.has_value());
}

TEST(LinuxExamination, tellsADisplayThatCannotBeOpened) {
  const ControlFolder folder;
  LinuxExamination examination({.display = ":-1",
                                .isWaylandSession = true,
                                .sessionBusAddress = "unix:path=/nonexistent/bus",
                                .directories = folder.directories},
                               std::nullopt);
  const DoctorFacts facts = examination.facts();
  EXPECT_EQ(facts.display.error(), "The display :-1 cannot be opened.");
  EXPECT_TRUE(facts.isWaylandSession);
}

TEST(LinuxExamination, asksTheRelayBothQuestions) {
  const LoopbackServer relay([](Tcp::socket socket) {
    const bool isHealth = readHead(socket).starts_with("GET /healthz ");
    const std::string status = isHealth ? "200 OK" : "410 Gone";
    boost::asio::write(socket, boost::asio::buffer("HTTP/1.1 " + status + "\r\n\r\n"));
  });
  const ControlFolder folder;
  const auto request = [&](const std::string& path) {
    return HttpRequest{.method = "GET", .url = "http://" + relay.authority() + path, .headers = {}, .body = {}};
  };
  LinuxExamination examination({.sessionBusAddress = "unix:path=/nonexistent/bus", .directories = folder.directories},
                               request("/healthz"));
  examination.askRegistration(request("/api/pairings/p/relay-token"));
  const DoctorFacts facts = examination.facts();
  ASSERT_TRUE(facts.relayHost.has_value());
  EXPECT_EQ(facts.relayHost->failure, std::nullopt);
  EXPECT_EQ(facts.relayHost->status, 200);
  EXPECT_EQ(facts.registration, DoctorAnswer<int>(410));
}

TEST(LinuxExamination, waitsForEverythingTogether) {
  const PrivateBus bus;
  static_cast<void>(bus.connect());
  bus.setStopped(true);
  const SilentServer silent;
  const ControlFolder folder;
  const FakeAgent agent(folder.directories, "");
  const HttpRequest health{.method = "GET",
                           .url = "https://" + silent.authority() + "/healthz",
                           .headers = {},
                           .body = {},
                           .timeout = Seconds(4)};
  const auto start = std::chrono::steady_clock::now();
  // An X display that takes the connection and never greets: its port is the number of the display and 6000.
  const int port = std::stoi(silent.authority().substr(silent.authority().find(':') + 1));
  LinuxExamination examination({.display = "127.0.0.1:" + std::to_string(port - 6000),
                                .sessionBusAddress = bus.address(),
                                .directories = folder.directories},
                               health);
  examination.askRegistration(health);
  const DoctorFacts facts = examination.facts();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8)) << "each alone would take most of it";
  bus.setStopped(false);
  EXPECT_FALSE(facts.isAccessibilityOn.has_value());
  EXPECT_EQ(facts.display.error(), "It does not answer.");
  EXPECT_EQ(facts.relayHost->failure, "The connection timed out.");
  EXPECT_EQ(facts.registration->error(), "The connection timed out.");
  EXPECT_EQ(facts.agent.state, State::silent);
}

}  // namespace
}  // namespace tallyfox::linux_os
