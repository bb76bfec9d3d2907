// Programs for the owner: found along the path as a shell would, started with nothing of this process, and reaped.

#include "platform/linux/ProgramLauncher.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "platform/LoopbackServers.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing_network::waitUntil;

class ProgramLauncherTest : public testing::Test {
 protected:
  void install(const std::string& path, const std::string& script, fs::perms permissions = fs::perms::owner_all) {
    writeFile(folder / path, "#!/bin/sh\n" + script);
    fs::permissions(folder / path, permissions);
  }
  [[nodiscard]] ProgramLauncher launcher(const std::string& folders = "first:second") const {
    std::string path;
    std::istringstream list(folders);
    for (std::string name; std::getline(list, name, ':');)
      path += (folder / name).string() + ":";
    return ProgramLauncher(path);
  }
  /// What a started program leaves in a file, once it is complete.
  [[nodiscard]] std::string outcome() const {
    EXPECT_TRUE(waitUntil([&] { return fs::exists(folder / "done"); }));
    return fileText(folder / "outcome");
  }
  /// Leaves what the commands print.
  [[nodiscard]] std::string reporting(const std::string& commands) const {
    return "cd " + folder.path() + "; { " + commands + "; } > outcome 2>&1; : > done\n";
  }

  TemporaryFolder folder;
};

TEST_F(ProgramLauncherTest, findsTheFirstProgramAlongThePath) {
  install("second/settings", "");
  EXPECT_EQ(launcher().pathOf("settings"), (folder / "second/settings").string());
  install("first/settings", "", fs::perms::owner_read);
  EXPECT_EQ(launcher().pathOf("settings"), (folder / "second/settings").string()) << "the first is no program";
  fs::permissions(folder / "first/settings", fs::perms::owner_all);
  EXPECT_EQ(launcher().pathOf("settings"), (folder / "first/settings").string());
  fs::create_directories(folder / "first/folder");
  for (const char* name : {"other", "", "folder", "../first/settings", "/bin/sh"})
    EXPECT_EQ(launcher().pathOf(name), std::nullopt) << name;
  EXPECT_EQ(ProgramLauncher("").pathOf("sh"), std::nullopt);
  EXPECT_EQ(ProgramLauncher(".:bin::relative/bin").pathOf("sh"), std::nullopt);
  EXPECT_EQ(ProgramLauncher("::/bin").pathOf("sh"), "/bin/sh");
}

TEST_F(ProgramLauncherTest, passesTheWordsOn) {
  install("first/settings", reporting(R"(printf '<%s>' "$@")"));
  EXPECT_TRUE(launcher().start({"settings", "a b", "$HOME", ""}));
  EXPECT_EQ(outcome(), "<a b><$HOME><>");
}

TEST_F(ProgramLauncherTest, saysThatThereIsNoSuchProgram) {
  EXPECT_FALSE(launcher().start({}));
  EXPECT_FALSE(launcher().start({"settings"}));
  writeFile(folder / "first/settings", "neither a script nor a binary");
  fs::permissions(folder / "first/settings", fs::perms::owner_all);
  EXPECT_FALSE(launcher().start({"settings"}));
}

TEST_F(ProgramLauncherTest, givesNothingOfThisProcess) {
  writeFile(folder / "secret", "secret");
  const posix_os::FileDescriptor open(::open((folder / "secret").c_str(), O_RDONLY));  // left open by exec
  ASSERT_TRUE(open);
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  install(
      "first/settings",
      reporting("ls -l /proc/$$/fd; grep -E '^Sig(Blk|Ign):' /proc/self/status; ps -o sid= -p $$; echo \"pid $$\""));
  EXPECT_TRUE(launcher().start({"settings"}));
  std::signal(SIGPIPE, before);
  const std::string text = outcome();
  EXPECT_THAT(text, Not(HasSubstr("secret")));
  EXPECT_THAT(text, HasSubstr("0 -> /dev/null"));
  EXPECT_THAT(text, HasSubstr("SigBlk:\t0000000000000000\n"));
  // The C library keeps two signals above the 31 of the system for itself.
  EXPECT_THAT(text, testing::ContainsRegex("SigIgn:\t[0-9a-f]{8}[08]0000000\n"));
  std::istringstream words(text.substr(text.rfind("SigIgn")));
  std::string word;
  long session = 0;
  long pid = -1;
  words >> word >> word >> session >> word >> pid;
  EXPECT_EQ(session, pid) << "a session of its own";
}

TEST_F(ProgramLauncherTest, leavesNoZombie) {
  install("first/settings", reporting("echo $$"));
  EXPECT_TRUE(launcher().start({"settings"}));
  const fs::path process = fs::path("/proc") / std::to_string(std::stol(outcome()));
  EXPECT_TRUE(waitUntil([&] { return !fs::exists(process); }));
}

}  // namespace
}  // namespace tallyfox::linux_os
