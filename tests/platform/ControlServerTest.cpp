// The socket for commands: private, taken over from the dead and the old, and held up by no client, whatever it sends
// or does not send. In virtual time.

#include "platform/linux/ControlServer.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <vector>

#include "base/Limits.hpp"
#include "platform/ControlSocketFixture.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ControlServerTest : public testing::Test {
 protected:
  [[nodiscard]] std::expected<std::unique_ptr<ControlServer>, FileError> opened(const std::string& name = "agent",
                                                                                uid_t user = ::geteuid()) {
    return ControlServer::open(place.directory(), {.watcher = watcher,
                                                   .mainQueue = *mainQueue,
                                                   .handler =
                                                       [this, name](std::string_view line) {
                                                         lines.emplace_back(line);
                                                         return name + " heard " + std::string(line);
                                                       },
                                                   .user = user});
  }
  [[nodiscard]] TestClient client() const { return TestClient(place.directories); }
  /// What a client is told that sends this.
  [[nodiscard]] std::string told(const std::string& text) {
    TestClient asking = client();
    asking.send(text);
    watcher.pump();
    return asking.received();
  }
  [[nodiscard]] std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(place.folder / "tallyfox"))
      names.push_back(entry.path().filename());
    return names;
  }

  ControlFolder place;
  memory::VirtualTime time;
  std::shared_ptr<SerialQueue> mainQueue = time.makeQueue("main");
  ManualWatcher watcher;
  std::vector<std::string> lines;
};

TEST_F(ControlServerTest, liesWhereOnlyItsUserCanReachIt) {
  const auto server = opened();
  ASSERT_TRUE(server.has_value());
  EXPECT_EQ(modeOf(place.folder / "tallyfox"), fs::perms{0700});
  EXPECT_EQ(modeOf(place.folder / "tallyfox/control.socket"), fs::perms{0600});
  EXPECT_THAT(files(), ElementsAre("control.socket"));
}

TEST_F(ControlServerTest, answersOneLineAndEndsTheConnection) {
  const auto server = opened();
  TestClient asking = client();
  asking.send("hello\nmore\n");
  watcher.pump();
  EXPECT_EQ(asking.received(), "agent heard hello\n");
  EXPECT_TRUE(asking.atEnd());
  EXPECT_THAT(lines, ElementsAre("hello"));
}

TEST_F(ControlServerTest, takesALineInPieces) {
  const auto server = opened();
  TestClient asking = client();
  for (const std::string piece : {"he", "l", "lo"}) {
    asking.send(piece);
    watcher.pump();
    EXPECT_EQ(asking.received(), "");
    EXPECT_FALSE(asking.atEnd());
  }
  asking.send("\n");
  watcher.pump();
  EXPECT_EQ(asking.received(), "agent heard hello\n");
}

TEST_F(ControlServerTest, answersTheLongestLineAndRefusesALongerOne) {
  const auto server = opened();
  const std::string longest(limits::controlRequestBytes, 'x');
  EXPECT_EQ(told(longest + "\n"), "agent heard " + longest + "\n");
  const std::string refusal = "{\"version\":1,\"ok\":false,\"text\":\"The command is too long.\"}\n";
  EXPECT_EQ(told(longest + "x\n"), refusal);
  EXPECT_EQ(told(longest + "x"), refusal) << "it never ends";
  EXPECT_THAT(lines, ElementsAre(longest));
}

TEST_F(ControlServerTest, sendsTheLongestAnswerWhole) {
  const std::string longest(limits::controlAnswerBytes, 'a');
  const auto server = ControlServer::open(
      place.directory(), {.watcher = watcher, .mainQueue = *mainQueue, .handler = [&](auto) { return longest; }});
  EXPECT_EQ(told("hello\n"), longest + "\n");
}

TEST_F(ControlServerTest, hearsNoOtherUser) {
  const auto server = opened("agent", ::geteuid() + 1);
  TestClient stranger = client();
  stranger.send("hello\n");
  watcher.pump();
  EXPECT_EQ(stranger.received(), "");
  EXPECT_TRUE(stranger.atEnd());
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ControlServerTest, sendsASilentClientAwayAndServesTheOthersMeanwhile) {
  const auto server = opened();
  TestClient silent = client();
  TestClient slow = client();
  slow.send("half a li");
  watcher.pump();
  time.advance(Seconds(1.9));
  EXPECT_EQ(told("hello\n"), "agent heard hello\n");
  EXPECT_EQ(silent.received(), "");
  EXPECT_FALSE(silent.atEnd());
  time.advance(Seconds(0.1));
  for (TestClient* late : {&silent, &slow}) {
    EXPECT_THAT(late->received(), HasSubstr("The command did not come in time."));
    EXPECT_TRUE(late->atEnd());
  }
  EXPECT_THAT(lines, ElementsAre("hello"));
  EXPECT_EQ(time.pendingTaskCount(), 0U) << "a client that was answered leaves no deadline";
}

TEST_F(ControlServerTest, hearsALineThatCameWhileTheAgentWasBusy) {
  const auto server = opened();
  TestClient asking = client();
  watcher.pump();
  asking.send("hello\n");
  time.advance(Seconds(5));
  EXPECT_EQ(asking.received(), "agent heard hello\n");
}

TEST_F(ControlServerTest, servesSoManyAtOnceAndNoMore) {
  const auto server = opened();
  std::vector<TestClient> silent;
  for (std::size_t i = 0; i < limits::controlConnections; ++i) {
    silent.push_back(client());
    watcher.pump();
  }
  TestClient surplus = client();
  watcher.pump();
  EXPECT_THAT(surplus.received(), HasSubstr("The agent is busy with other commands."));
  EXPECT_TRUE(surplus.atEnd());
  silent.pop_back();
  watcher.pump();
  EXPECT_EQ(told("hello\n"), "agent heard hello\n");
}

TEST_F(ControlServerTest, answersManyThatComeTogether) {
  const auto server = opened();
  std::vector<TestClient> asking;
  for (std::size_t i = 0; i < limits::controlConnections; ++i) {
    asking.push_back(client());
    asking.back().send(std::to_string(i) + "\n");
  }
  watcher.pump();
  for (std::size_t i = 0; i < asking.size(); ++i)
    EXPECT_EQ(asking[i].received(), "agent heard " + std::to_string(i) + "\n");
}

TEST_F(ControlServerTest, forgetsAClientThatLeaves) {
  const auto server = opened();
  for (std::size_t i = 0; i <= limits::controlConnections; ++i) {
    (void)client();
    client().send("half a li");
    watcher.pump();
  }
  client().send("hello\n");  // and does not stay for the answer
  watcher.pump();
  EXPECT_EQ(told("hello\n"), "agent heard hello\n");
  EXPECT_THAT(lines, ElementsAre("hello", "hello"));
  EXPECT_EQ(time.pendingTaskCount(), 0U);
}

TEST_F(ControlServerTest, takesOverTheSocketOfADeadAgent) {
  {
    const PrivateDirectory directory = place.directory();
    const posix_os::FileDescriptor dead(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = socketAddress(directory, controlSocketName);
    ASSERT_EQ(::bind(dead.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ASSERT_FALSE(client().isConnected());
  const auto server = opened();
  EXPECT_EQ(told("hello\n"), "agent heard hello\n");
  EXPECT_THAT(files(), ElementsAre("control.socket"));
}

TEST_F(ControlServerTest, takesThePlaceOfWhateverFileHasTheName) {
  writeFile(place.folder / "tallyfox/control.socket", "not a socket");
  const auto server = opened();
  EXPECT_EQ(told("hello\n"), "agent heard hello\n");
}

TEST_F(ControlServerTest, saysWhyThereCanBeNoSocket) {
  fs::create_directories(place.folder / "tallyfox/control.socket");
  const auto server = opened();
  ASSERT_FALSE(server.has_value());
  EXPECT_EQ(server.error().description(), "Is a directory.");
  EXPECT_THAT(files(), ElementsAre("control.socket")) << "nothing is left beside it";
}

TEST_F(ControlServerTest, belongsToTheNewerAgentInTheEnd) {
  auto older = opened("older");
  TestClient before = client();
  watcher.pump();
  auto newer = opened("newer");
  EXPECT_EQ(told("hello\n"), "newer heard hello\n");
  before.send("hello\n");
  watcher.pump();
  EXPECT_EQ(before.received(), "older heard hello\n");
  older->reset();
  EXPECT_EQ(told("hello\n"), "newer heard hello\n") << "the older one has taken only its own away";
  newer->reset();
  EXPECT_FALSE(client().isConnected());
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(ControlServerTest, endsTheConnectionsWithItself) {
  auto server = opened();
  TestClient waiting = client();
  watcher.pump();
  server->reset();
  EXPECT_EQ(waiting.received(), "");
  EXPECT_TRUE(waiting.atEnd());
  EXPECT_EQ(watcher.pump(), 0);
  EXPECT_EQ(time.pendingTaskCount(), 0U);
}

/// Leaves the process no new descriptor while it lives.
struct NoDescriptorLeft {
  NoDescriptorLeft() {
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 3;
    ::setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoDescriptorLeft() { ::setrlimit(RLIMIT_NOFILE, &before); }
  rlimit before{};
};

TEST_F(ControlServerTest, waitsForADescriptorWithoutSpinning) {
  const auto server = opened();
  TestClient asking = client();
  asking.send("hello\n");
  {
    const NoDescriptorLeft want;
    EXPECT_EQ(watcher.pump(), 1);
    time.advance(Seconds(0.9));
    EXPECT_EQ(watcher.pump(), 0);
  }
  time.advance(Seconds(0.1));
  watcher.pump();
  EXPECT_EQ(asking.received(), "agent heard hello\n");
}

TEST(ControlDirectory, hasRoomForALongPath) {
  ControlFolder place;
  place.directories.runtime = (place.folder / std::string(150, 'd')).string();
  fs::create_directory(*place.directories.runtime);
  memory::VirtualTime time;
  const auto mainQueue = time.makeQueue("main");
  ManualWatcher watcher;
  const auto server = ControlServer::open(
      place.directory(),
      {.watcher = watcher, .mainQueue = *mainQueue, .handler = [](auto line) { return std::string(line); }});
  ASSERT_TRUE(server.has_value());
  EXPECT_TRUE(TestClient(place.directories).isConnected());
}

TEST(ControlDirectory, isAPrivateOneOfTheTemporaryFolderWithoutARuntimeFolder) {
  ControlFolder place;
  place.directories.runtime.reset();
  place.directories.temporary = place.folder.path();
  const std::string name = "tallyfox-" + std::to_string(::geteuid());
  EXPECT_TRUE(controlDirectory(place.directories, false).error().isMissing());
  ASSERT_TRUE(controlDirectory(place.directories, true).has_value());
  EXPECT_EQ(modeOf(place.folder / name), fs::perms{0700});
}

TEST(ControlDirectory, isRefusedWhenItIsNotThisUsersOwn) {
  ControlFolder place;
  fs::create_directory(place.folder / "elsewhere");
  fs::create_directory_symlink(place.folder / "elsewhere", place.folder / "tallyfox");
  EXPECT_FALSE(controlDirectory(place.directories, true).has_value());
  fs::remove(place.folder / "tallyfox");
  writeFile(place.folder / "tallyfox", "");
  EXPECT_FALSE(controlDirectory(place.directories, true).has_value());
  place.directories.runtime = (place.folder / "missing").string();
  EXPECT_TRUE(controlDirectory(place.directories, true).error().isMissing()) << "the system makes that folder";
}

}  // namespace
}  // namespace tallyfox::linux_os
