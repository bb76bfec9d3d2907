// A window finds its application's desktop file by the application's own id, by StartupWMClass or by the file's name,
// and files that come and go are noticed.

#include "platform/linux/DesktopFiles.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace tallyfox::linux_os {
namespace {

class DesktopFilesTest : public testing::Test {
 protected:
  DesktopFilesTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tallyfox-desktop-files-XXXXXX").string();
    directory_ = mkdtemp(pattern.data());
  }
  ~DesktopFilesTest() override { std::filesystem::remove_all(directory_); }

  /// `file` is relative to the data directory's "applications".
  void install(const std::string& dataDirectory, const std::string& file, const std::string& moreLines = "") {
    const auto path = directory_ / dataDirectory / "applications" / file;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "[Desktop Entry]\nType=Application\nName=Some Program\n" << moreLines;
    // As if installed a while ago, so that each later change shows in the folder's time.
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(path.parent_path(), now - std::chrono::hours(++age_));
  }
  [[nodiscard]] DesktopFiles files() const { return DesktopFiles({directory_ / "own", directory_ / "shared"}); }

  std::filesystem::path directory_;
  int age_ = 0;
};

TEST_F(DesktopFilesTest, findsTheFileThatTheApplicationNamesItself) {
  install("shared", "org.example.Editor.desktop");
  DesktopFiles desktopFiles = files();
  EXPECT_EQ(desktopFiles.identifier({.applicationID = "org.example.Editor"}), "org.example.Editor");
  EXPECT_EQ(desktopFiles.identifier({.applicationID = "org.example.editor"}), "org.example.Editor");
  EXPECT_EQ(desktopFiles.identifier({.applicationID = "org.example.Editor.desktop"}), "org.example.Editor");
  EXPECT_EQ(desktopFiles.identifier({.applicationID = "/usr/share/applications/org.example.Editor.desktop"}),
            "org.example.Editor");
}

TEST_F(DesktopFilesTest, findsByClassOrInstanceInEitherCase) {
  install("shared", "zenity.desktop");
  DesktopFiles desktopFiles = files();
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenity", .instanceName = "other"}), "zenity");
  EXPECT_EQ(desktopFiles.identifier({.className = "Other", .instanceName = "ZENITY"}), "zenity");
}

TEST_F(DesktopFilesTest, prefersTheStartupClassToTheFileName) {
  install("shared", "writer.desktop", "StartupWMClass=office-writer\n");
  install("shared", "office-writer.desktop", "StartupWMClass=legacy\n");
  EXPECT_EQ(files().identifier({.className = "Office-Writer", .instanceName = "x"}), "writer");
}

TEST_F(DesktopFilesTest, prefersTheApplicationsOwnId) {
  install("shared", "writer.desktop", "StartupWMClass=Writer\n");
  install("shared", "org.example.Writer.desktop");
  EXPECT_EQ(files().identifier({.applicationID = "org.example.Writer", .className = "Writer"}), "org.example.Writer");
  EXPECT_EQ(files().identifier({.applicationID = "org.example.Gone", .className = "Writer"}), "writer");
}

TEST_F(DesktopFilesTest, isAbsentWithoutAMatch) {
  install("shared", "zenity.desktop");
  DesktopFiles desktopFiles = files();
  EXPECT_EQ(desktopFiles.identifier({}), std::nullopt);
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenit"}), std::nullopt);
  EXPECT_EQ(desktopFiles.identifier({.applicationID = "../../zenity.desktop/"}), std::nullopt);
  EXPECT_EQ(DesktopFiles({}).identifier({.className = "zenity"}), std::nullopt);
}

TEST_F(DesktopFilesTest, joinsFoldersIntoTheId) {
  install("shared", "kde4/okular.desktop", "StartupWMClass=okular\n");
  EXPECT_EQ(files().identifier({.className = "Okular"}), "kde4-okular");
}

TEST_F(DesktopFilesTest, letsTheEarlierDirectoryHideAFile) {
  install("own", "zenity.desktop", "Hidden=true\n");
  install("shared", "zenity.desktop", "StartupWMClass=Zenity\n");
  EXPECT_EQ(files().identifier({.className = "Zenity"}), std::nullopt);
}

TEST_F(DesktopFilesTest, noticesFilesThatComeAndGo) {
  install("shared", "other.desktop");
  DesktopFiles desktopFiles = files();
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenity"}), std::nullopt);
  install("shared", "zenity.desktop");
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenity"}), "zenity");
  install("own", "tools/gone.desktop");
  EXPECT_EQ(desktopFiles.identifier({.className = "tools-gone"}), "tools-gone");
  std::filesystem::remove(directory_ / "shared/applications/zenity.desktop");
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenity"}), std::nullopt);
}

TEST_F(DesktopFilesTest, answersFromMemoryWhileTheFoldersStayAsTheyAre) {
  install("shared", "zenity.desktop");
  DesktopFiles desktopFiles = files();
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenity"}), "zenity");
  const auto folder = directory_ / "shared/applications";
  const auto time = std::filesystem::last_write_time(folder);
  std::filesystem::remove(folder / "zenity.desktop");
  std::filesystem::last_write_time(folder, time);
  EXPECT_EQ(desktopFiles.identifier({.className = "Zenity"}), "zenity");
}

TEST(DesktopFileEntry, readsTheMainGroupOnly) {
  EXPECT_EQ(parsedDesktopFile("# comment\n[Desktop Entry]\nName=A\nStartupWMClass = Alpha \n"
                              "[Desktop Action new]\nStartupWMClass=Beta\nHidden=true\n"),
            (DesktopFileEntry{.isHidden = false, .startupClass = "Alpha"}));
  EXPECT_EQ(parsedDesktopFile("[Desktop Entry]\r\nHidden=true\r\n"),
            (DesktopFileEntry{.isHidden = true, .startupClass = ""}));
  EXPECT_EQ(parsedDesktopFile("[Desktop Entry]\nExec = \"/a b/c\" %u \nX-GNOME-Autostart-enabled=false\n"),
            (DesktopFileEntry{.isAutostartEnabled = false, .exec = "\"/a b/c\" %u"}));
  EXPECT_EQ(parsedDesktopFile("[Desktop Entry]\nTryExec=a\nOnlyShowIn=GNOME; KDE;\nNotShowIn=;XFCE\n"),
            (DesktopFileEntry{
                .tryExec = "a", .onlyShowIn = std::vector<std::string>{"GNOME", "KDE"}, .notShowIn = {"XFCE"}}));
  EXPECT_EQ(parsedDesktopFile("StartupWMClass=Alpha\n"), std::nullopt);
  EXPECT_EQ(parsedDesktopFile(""), std::nullopt);
  EXPECT_EQ(parsedDesktopFile("[Desktop Entry]\nStartupWMClass=\xFF\n"),
            (DesktopFileEntry{.isHidden = false, .startupClass = "\xEF\xBF\xBD"}));
}

}  // namespace
}  // namespace tallyfox::linux_os
