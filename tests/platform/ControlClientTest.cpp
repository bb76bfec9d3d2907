// The side of the command line: it reaches the agent's main loop, and ends with a reason where there is no agent, a
// silent one, or one that says no line.

#include "platform/linux/ControlClient.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <thread>

#include "base/Limits.hpp"
#include "platform/ControlSocketFixture.hpp"
#include "platform/linux/ControlServer.hpp"
#include "platform/linux/MainEventLoop.hpp"

namespace tallyfox::linux_os {
namespace {

using Answer = std::expected<std::string, ControlFailure>;

constexpr Seconds generous{20};
constexpr Seconds brief{0.05};

/// A socket in the agent's place, with nobody behind it yet.
posix_os::FileDescriptor listeningSocket(const ControlFolder& place) {
  const PrivateDirectory directory = place.directory();
  posix_os::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_un address = socketAddress(directory, controlSocketName);
  EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(::listen(socket.get(), 1), 0);
  return socket;
}

/// What a client gets from an agent that sends this, whatever it is asked, and hangs up.
Answer answerOf(const std::string& text) {
  const ControlFolder place;
  const posix_os::FileDescriptor listening = listeningSocket(place);
  std::thread agent([&] {
    const posix_os::FileDescriptor socket(::accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
    char asked = 0;
    EXPECT_EQ(::recv(socket.get(), &asked, 1, MSG_PEEK), 1);
    (void)::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL);
  });
  const Answer answer = ControlClient::connected(place.directories, generous).value().ask("hello");
  agent.join();  // which may still have been sending; the client is gone
  return answer;
}

TEST(ControlClient, asksTheMainLoopOfTheAgent) {
  const ControlFolder place;
  MainEventLoop loop;
  const auto server = ControlServer::open(place.directory(),
                                          {.watcher = loop, .mainQueue = loop, .handler = [&](std::string_view line) {
                                             EXPECT_TRUE(loop.isCurrent());
                                             return "heard " + std::string(line);
                                           }});
  ASSERT_TRUE(server.has_value());
  Answer first;
  Answer second;
  std::thread commandLine([&] {
    first = ControlClient::connected(place.directories, generous).value().ask("one");
    second = ControlClient::connected(place.directories, generous).value().ask("two");
    loop.quit();
  });
  loop.run();
  commandLine.join();
  EXPECT_EQ(first, "heard one");
  EXPECT_EQ(second, "heard two");
}

TEST(ControlClient, findsNoAgent) {
  const ControlFolder place;
  const auto failure = [&] { return ControlClient::connected(place.directories, generous).error(); };
  EXPECT_EQ(failure(), ControlFailure::noAgent) << "no folder";
  (void)place.directory();
  EXPECT_EQ(failure(), ControlFailure::noAgent) << "no socket";
  (void)listeningSocket(place);
  EXPECT_EQ(failure(), ControlFailure::noAgent) << "the socket of a dead agent";
}

TEST(ControlClient, doesNotWaitForeverForAnAnswer) {
  const ControlFolder place;
  const posix_os::FileDescriptor silent = listeningSocket(place);
  EXPECT_EQ(ControlClient::connected(place.directories, brief).value().ask("hello"),
            std::unexpected(ControlFailure::noAnswer));
}

TEST(ControlClient, doesNotWaitForeverForAConnection) {
  const ControlFolder place;
  const posix_os::FileDescriptor silent = listeningSocket(place);
  const TestClient one(place.directories);
  const TestClient two(place.directories);
  const auto client = ControlClient::connected(place.directories, brief);
  ASSERT_FALSE(client.has_value()) << "the queue is full";
  EXPECT_EQ(client.error(), ControlFailure::noAnswer);
}

TEST(ControlClient, takesOneLineOfBoundedLength) {
  EXPECT_EQ(answerOf("fine\nmore"), "fine");
  const std::string longest(limits::controlAnswerBytes, 'a');
  EXPECT_EQ(answerOf(longest + "\n"), longest);
  for (const std::string& text : {std::string(), std::string("no line"), std::string(1'000'000, 'a')})
    EXPECT_EQ(answerOf(text), std::unexpected(ControlFailure::noAnswer)) << text.size();
}

TEST(ControlClient, waitsForTheEndOfTheAgentsProcess) {
  const ControlFolder place;
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t agent = ::fork();
  if (agent == 0) {
    const posix_os::FileDescriptor listening = listeningSocket(place);
    (void)!::write(ready[1], "", 1);
    for (;;)
      ::pause();
  }
  const posix_os::FileDescriptor reading(ready[0]);
  const posix_os::FileDescriptor writing(ready[1]);
  char byte = 1;
  ASSERT_EQ(::read(reading.get(), &byte, 1), 1);
  EXPECT_FALSE(ControlClient::connected(place.directories, brief).value().waitForAgentsEnd());
  const auto client = ControlClient::connected(place.directories, generous);
  ::kill(agent, SIGKILL);
  EXPECT_TRUE(client.value().waitForAgentsEnd());
  ::waitpid(agent, nullptr, 0);
}

}  // namespace
}  // namespace tallyfox::linux_os
