// The login item as an autostart entry: read as the desktop reads it, written so that the desktop finds the executable
// whatever its path, and left alone once the owner has switched it off.

#include "platform/linux/AutostartEntry.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/TemporaryFolder.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using Status = LoginItemServiceStatus;

class AutostartEntryTest : public testing::Test {
 protected:
  AutostartEntryTest() { install("bin/tallyfox"); }
  void install(const std::string& path) {
    executable = folder / path;
    writeFile(executable, "");
    fs::permissions(executable, fs::perms::owner_all);
  }
  [[nodiscard]] AutostartEntry entry() const {
    return {(folder / "config").string(), executable.string(), desktopNames,
            ProgramLauncher((folder / "bin").string())};
  }
  [[nodiscard]] fs::path file() const { return folder / "config/autostart/com.tallyfox.agent.desktop"; }
  void write(const std::string& text) { writeFile(file(), text); }
  [[nodiscard]] std::string exec() const { return "Exec=\"" + executable.string() + "\"\n"; }

  TemporaryFolder folder;
  fs::path executable;
  std::vector<std::string> desktopNames = {"ubuntu", "GNOME"};
};

TEST_F(AutostartEntryTest, writesAnEntryThatStartsThisExecutable) {
  EXPECT_EQ(entry().status(), Status::notRegistered);
  EXPECT_FALSE(fs::exists(folder / "config"));
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(entry().status(), Status::enabled);
  EXPECT_THAT(fileText(file()), HasSubstr("[Desktop Entry]\nType=Application\nName=Tallyfox\n"));
  EXPECT_THAT(fileText(file()), HasSubstr(exec()));
}

TEST_F(AutostartEntryTest, quotesAPathOfSpecialCharacters) {
  install("a b/$x`y\"z\\50%/tallyfox");
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(entry().status(), Status::enabled);
  EXPECT_THAT(fileText(file()), HasSubstr("Exec=\"" + folder.path() + R"(/a b/\\$x\\`y\\"z\\\\50%%/tallyfox")" + "\n"));
}

TEST_F(AutostartEntryTest, readsWhatTheOwnerDecided) {
  const std::vector<std::pair<std::string, Status>> cases = {
      {"[Desktop Entry]\n" + exec(), Status::enabled},
      {"[Desktop Entry]\r\n Exec = \"" + executable.string() + "\" \r\n", Status::enabled},
      {"[Desktop Entry]\nHidden=false\n" + exec(), Status::enabled},
      {"[Desktop Entry]\n" + exec() + "Hidden=true\n", Status::requiresApproval},
      {"[Desktop Entry]\n" + exec() + "X-GNOME-Autostart-enabled=false\n", Status::requiresApproval},
      {"[Desktop Entry]\nHidden=true\n", Status::requiresApproval},
      {"[Desktop Entry]\n" + exec() + "[Desktop Action Quit]\nHidden=true\n", Status::enabled},
      {"[Other]\n" + exec(), Status::notRegistered},
      {"[Desktop Entry]\nExec=/usr/bin/other\n", Status::notRegistered},
      {"[Desktop Entry]\n#" + exec(), Status::notRegistered},
      {"", Status::notRegistered},
      {std::string("\0\xff=[", 4), Status::notRegistered},
  };
  for (const auto& [text, status] : cases) {
    write(text);
    EXPECT_EQ(entry().status(), status) << text;
  }
}

TEST_F(AutostartEntryTest, heedsForWhichDesktopsItIs) {
  const std::vector<std::pair<std::string, Status>> cases = {
      {"OnlyShowIn=GNOME;", Status::enabled},
      {"OnlyShowIn=KDE;ubuntu", Status::enabled},
      {"OnlyShowIn=KDE;XFCE;", Status::requiresApproval},
      {"OnlyShowIn=", Status::requiresApproval},
      {"OnlyShowIn=gnome;", Status::requiresApproval},
      {"NotShowIn=KDE;", Status::enabled},
      {"NotShowIn=", Status::enabled},
      {"NotShowIn=KDE;GNOME;", Status::requiresApproval},
      {"OnlyShowIn=ubuntu;\nNotShowIn=GNOME;", Status::enabled},
  };
  for (const auto& [line, status] : cases) {
    write("[Desktop Entry]\n" + exec() + line + "\n");
    EXPECT_EQ(entry().status(), status) << line;
  }
  write("[Desktop Entry]\n" + exec() + "OnlyShowIn=KDE;\n");
  const std::string kept = fileText(file());
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(fileText(file()), kept) << "the owner has kept it from this desktop";
  desktopNames = {};
  EXPECT_EQ(entry().status(), Status::requiresApproval);
  write("[Desktop Entry]\n" + exec() + "NotShowIn=KDE;\n");
  EXPECT_EQ(entry().status(), Status::enabled);
}

TEST_F(AutostartEntryTest, needsTheProgramThatItTriesFirst) {
  const std::vector<std::pair<std::string, Status>> cases = {
      {executable.string(), Status::enabled},
      {"tallyfox", Status::enabled},
      {"/nonexistent/tallyfox", Status::notFound},
      {"other", Status::notFound},
      {"", Status::enabled},
  };
  for (const auto& [program, status] : cases) {
    write("[Desktop Entry]\nTryExec=" + program + "\n" + exec());
    EXPECT_EQ(entry().status(), status) << program;
  }
  write("[Desktop Entry]\nTryExec=other\n" + exec());
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(entry().status(), Status::enabled);
}

TEST_F(AutostartEntryTest, leavesAnEntryOfAnotherProgramThatTheOwnerSwitchedOff) {
  write("[Desktop Entry]\nHidden=true\nExec=\"/opt/old/tallyfox\"\n");
  EXPECT_EQ(entry().status(), Status::requiresApproval);
  write("[Desktop Entry]\nOnlyShowIn=KDE;\nExec=\"/opt/old/tallyfox\"\n");
  EXPECT_EQ(entry().status(), Status::notRegistered) << "says nothing of this executable";
}

TEST_F(AutostartEntryTest, doesNotSwitchOnWhatTheOwnerSwitchedOff) {
  const std::string off = "[Desktop Entry]\n" + exec() + "Hidden=true\n";
  write(off);
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(entry().status(), Status::requiresApproval);
  EXPECT_EQ(fileText(file()), off);
}

TEST_F(AutostartEntryTest, leavesAnEntryOfItsOwnAsTheOwnerHasIt) {
  const std::string delayed = "[Desktop Entry]\n" + exec() + "X-GNOME-Autostart-Delay=20\n";
  write(delayed);
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(fileText(file()), delayed);
}

TEST_F(AutostartEntryTest, takesTheEntryOverFromACopyElsewhere) {
  write("[Desktop Entry]\nExec=\"/opt/old/tallyfox\"\n");
  EXPECT_TRUE(entry().registerItem().has_value());
  EXPECT_EQ(entry().status(), Status::enabled);
}

TEST_F(AutostartEntryTest, isNotFoundOnceTheExecutableIsGone) {
  EXPECT_TRUE(entry().registerItem().has_value());
  fs::remove(executable);
  EXPECT_EQ(entry().status(), Status::notFound);
}

TEST_F(AutostartEntryTest, isUnknownWhereItCannotBeRead) {
  fs::create_directories(file());
  EXPECT_EQ(entry().status(), Status::unknown);
}

}  // namespace
}  // namespace tallyfox::linux_os
