// The small services of the Linux backend: console lines, user directories, the instance lock, the installed tree with
// its property lists, and addresses of requests.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <thread>

#include "base/Limits.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/linux/InstalledBundle.hpp"
#include "platform/linux/NetworkAddress.hpp"
#include "platform/linux/UserDirectories.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/posix/FileDescriptor.hpp"
#include "platform/posix/FlockInstanceLock.hpp"
#include "platform/posix/StandardOutputConsole.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

TEST(StandardOutputConsole, writesEachLineWholeWhateverTheThread) {
  const TemporaryFolder folder;
  const posix_os::FileDescriptor file(
      ::open((folder / "lines").c_str(), O_CREAT | O_RDWR | O_APPEND | O_CLOEXEC, 0600));
  posix_os::StandardOutputConsole console(file.get());
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'e'; ++letter)
    threads.emplace_back([&console, letter] {
      for (int round = 0; round < 50; ++round)
        console.printLine(std::string(300, letter));
    });
  for (auto& thread : threads)
    thread.join();
  std::istringstream lines(fileText(folder / "lines"));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_EQ(line, std::string(300, line.empty() ? '?' : line[0]));
  EXPECT_EQ(count, 200);
}

TEST(StandardOutputConsole, letsNoTextForgeALineOrMoveTheCursor) {
  const TemporaryFolder folder;
  const posix_os::FileDescriptor file(::open((folder / "lines").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
  posix_os::StandardOutputConsole(file.get()).printLine("a\nb\x1b[2Jc\r\x7f");
  EXPECT_EQ(fileText(folder / "lines"), "a b [2Jc  \n");
}

TEST(UserDirectories, followsTheBaseDirectoryVariables) {
  memory::MemoryEnvironment environment;
  environment.set("HOME", "/home/owner/");
  auto directories = UserDirectories::from(environment);
  EXPECT_EQ(directories.home, "/home/owner");
  EXPECT_EQ(directories.configHome, "/home/owner/.config");
  EXPECT_EQ(directories.dataHome, "/home/owner/.local/share");
  EXPECT_EQ(directories.temporary, "/tmp");
  EXPECT_EQ(directories.runtime, std::nullopt);
  EXPECT_THAT(directories.dataDirectories, ElementsAre("/home/owner/.local/share", "/usr/local/share", "/usr/share"));
  environment.set("XDG_CONFIG_HOME", "/c");
  environment.set("XDG_DATA_HOME", "/d");
  environment.set("XDG_DATA_DIRS", "/x::relative:/y");
  environment.set("TMPDIR", "/t/");
  environment.set("XDG_RUNTIME_DIR", "/r/");
  directories = UserDirectories::from(environment);
  EXPECT_EQ(directories.configHome, "/c");
  EXPECT_EQ(directories.temporary, "/t");
  EXPECT_EQ(directories.runtime, "/r");
  EXPECT_THAT(directories.dataDirectories, ElementsAre("/d", "/x", "/y"));
}

TEST(UserDirectories, takesRelativeAndEmptyPathsForUnset) {
  memory::MemoryEnvironment environment;
  environment.set("HOME", "/home/owner");
  environment.set("XDG_CONFIG_HOME", "config");
  environment.set("XDG_DATA_HOME", "");
  environment.set("TMPDIR", "./here");
  environment.set("XDG_RUNTIME_DIR", "run");
  EXPECT_EQ(UserDirectories::from(environment).configHome, "/home/owner/.config");
  EXPECT_EQ(UserDirectories::from(environment).dataHome, "/home/owner/.local/share");
  EXPECT_EQ(UserDirectories::from(environment).temporary, "/tmp");
  EXPECT_EQ(UserDirectories::from(environment).runtime, std::nullopt);
  environment.unset("HOME");
  EXPECT_TRUE(UserDirectories::from(environment).home.starts_with('/'));
}

TEST(FlockInstanceLock, leavesAnEmptyFileForThisUserAlone) {
  const TemporaryFolder folder;
  posix_os::FlockInstanceLock locks(folder.path());
  auto result = locks.acquire("agent.lock");
  EXPECT_EQ(result.outcome, LockOutcome::acquired);
  EXPECT_EQ(modeOf(folder / "agent.lock"), fs::perms{0600});
  EXPECT_EQ(fs::file_size(folder / "agent.lock"), 0U);
  result.lock.reset();
  EXPECT_TRUE(fs::exists(folder / "agent.lock"));
}

TEST(FlockInstanceLock, honoursTheLockOfAnotherProgram) {
  const TemporaryFolder folder;
  const posix_os::FileDescriptor other(::open((folder / "agent.lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  EXPECT_EQ(posix_os::FlockInstanceLock(folder.path()).acquire("agent.lock").outcome, LockOutcome::heldByAnother);
}

TEST(FlockInstanceLock, isUnavailableThroughLinksOddNamesAndMissingFolders) {
  const TemporaryFolder folder;
  fs::create_symlink(folder / "elsewhere", folder / "agent.lock");
  EXPECT_EQ(posix_os::FlockInstanceLock(folder.path()).acquire("agent.lock").outcome, LockOutcome::unavailable);
  EXPECT_FALSE(fs::exists(folder / "elsewhere"));
  EXPECT_EQ(posix_os::FlockInstanceLock(folder.path()).acquire("../agent.lock").outcome, LockOutcome::unavailable);
  EXPECT_EQ(posix_os::FlockInstanceLock((folder / "missing").string()).acquire("agent.lock").outcome,
            LockOutcome::unavailable);
}

TEST(FlockInstanceLock, isUnavailableWhenTheFileBelongsToAnotherUser) {
  const TemporaryFolder folder;
  const bool isRoot = ::geteuid() == 0;
  writeFile(folder / "agent.lock", "");
  if (isRoot) {
    ASSERT_EQ(::chown((folder / "agent.lock").c_str(), 12345, 12345), 0);
  }
  const auto foreign = isRoot ? folder / "agent.lock" : fs::path("/etc/passwd");
  EXPECT_EQ(posix_os::FlockInstanceLock(foreign.parent_path().string()).acquire(foreign.filename().string()).outcome,
            LockOutcome::unavailable);
}

TEST(InstalledBundle, knowsAnInstalledTreeByItsDesktopEntry) {
  const TemporaryFolder folder;
  const auto executable = folder / "prefix/bin/tallyfox";
  writeFile(executable, "");
  EXPECT_EQ(InstalledBundle(executable.string(), "/home/owner").bundleIdentifier(), std::nullopt);
  EXPECT_FALSE(InstalledBundle(executable.string(), "/home/owner").isApplicationBundle());
  writeFile(folder / "prefix/share/applications/com.tallyfox.agent.desktop", "[Desktop Entry]\n");
  EXPECT_EQ(InstalledBundle(executable.string(), "/home/owner").bundleIdentifier(), "com.tallyfox.agent");
  EXPECT_TRUE(InstalledBundle(executable.string(), "/home/owner").isApplicationBundle());
}

TEST(InstalledBundle, resolvesLinksToItsExecutable) {
  const TemporaryFolder folder;
  writeFile(folder / "prefix/bin/tallyfox", "");
  fs::create_symlink(folder / "prefix/bin/tallyfox", folder / "shortcut");
  InstalledBundle bundle((folder / "shortcut").string(), (folder / "home").string());
  EXPECT_EQ(bundle.path(), fs::canonical(folder / "prefix/bin/tallyfox").string());
  EXPECT_THAT(bundle.applicationDirectories(),
              ElementsAre("/usr", "/opt", (fs::canonical(folder.path()) / "home/.local").string()));
}

TEST(InstalledBundle, findsResourcesInTheTreeElseBesideTheExecutable) {
  const std::string list =
      R"(<plist version="1.0"><dict><key>relayURL</key><string>wss://r.example</string></dict></plist>)";
  const TemporaryFolder folder;
  const auto executable = folder / "prefix/bin/tallyfox";
  writeFile(executable, "");
  writeFile(folder / "prefix/bin/RelayConfig.plist", list);
  EXPECT_TRUE(InstalledBundle(executable.string(), "/h").propertyList("RelayConfig").has_value());
  writeFile(folder / "prefix/share/applications/com.tallyfox.agent.desktop", "");
  EXPECT_FALSE(InstalledBundle(executable.string(), "/h").propertyList("RelayConfig").has_value());
  writeFile(folder / "prefix/share/tallyfox/RelayConfig.plist", list);
  const auto found = InstalledBundle(executable.string(), "/h").propertyList("RelayConfig");
  ASSERT_TRUE(found && *found);
  EXPECT_EQ(found->value().at("relayURL"), "wss://r.example");
  EXPECT_FALSE(InstalledBundle(executable.string(), "/h").propertyList("../../bin/RelayConfig").has_value());
}

TEST(InstalledBundle, refusesAListBeyondTheLimitOfStoredFiles) {
  const TemporaryFolder folder;
  const auto executable = folder / "prefix/bin/tallyfox";
  writeFile(executable, "");
  const auto file = folder / "prefix/bin/RelayConfig.plist";
  writeFile(file, "<plist><dict/></plist>");
  const auto read = [&] { return InstalledBundle(executable.string(), "/h").propertyList("RelayConfig").value(); };
  EXPECT_TRUE(read().has_value());
  fs::resize_file(file, limits::storedFileBytes + 1);
  const auto refused = read();
  ASSERT_FALSE(refused.has_value());
  EXPECT_NE(refused.error(), "The file is not a property list.") << "it is not even read";
}

TEST(InstalledBundle, knowsTheRunningExecutable) {
  EXPECT_EQ(fs::path(InstalledBundle::runningExecutable()).filename(), "test_platform");
}

TEST(NetworkAddress, takesHostPortAndTargetFromTheUrl) {
  EXPECT_EQ(NetworkAddress::parsed("wss://relay.example", "ws", "wss"),
            (NetworkAddress{true, "relay.example", "443", "relay.example", "/"}));
  EXPECT_EQ(NetworkAddress::parsed("WS://relay.example:8080/a?b=c#d", "ws", "wss"),
            (NetworkAddress{false, "relay.example", "8080", "relay.example:8080", "/a?b=c"}));
  EXPECT_EQ(NetworkAddress::parsed("http://user:pass@[::1]:81/x", "http", "https"),
            (NetworkAddress{false, "::1", "81", "[::1]:81", "/x"}));
}

}  // namespace
}  // namespace tallyfox::linux_os
