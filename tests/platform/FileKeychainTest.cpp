// Where secrets lie and what is refused: nobody else may read them, and no name or link leads elsewhere.

#include "platform/linux/FileKeychain.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/Limits.hpp"
#include "platform/TemporaryFolder.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
using namespace keychain_status;

class FileKeychainTest : public testing::Test {
 protected:
  [[nodiscard]] fs::path place() const { return folder / "data/tallyfox/keychain/com.tallyfox.agent"; }
  [[nodiscard]] fs::path file() const { return place() / "secrets-v1"; }
  void expectUnavailable() {
    EXPECT_EQ(keychain.copyMatching(item), std::unexpected(notAvailable));
    EXPECT_EQ(keychain.update(item, value), notAvailable);
    EXPECT_EQ(keychain.add(item, value), notAvailable);
  }

  TemporaryFolder folder;
  FileKeychain keychain{(folder / "data").string()};
  KeychainItem item{"com.tallyfox.agent", "secrets-v1", false};
  Bytes value = copyOfBytes("secret");
};

TEST_F(FileKeychainTest, keepsTheRawBytesInAFileOfItsOwn) {
  EXPECT_EQ(keychain.add(item, value), success);
  EXPECT_EQ(fileText(file()), "secret");
  EXPECT_EQ(keychain.update(item, copyOfBytes("other")), success);
  EXPECT_EQ(fileText(file()), "other");
  EXPECT_EQ(std::distance(fs::directory_iterator(place()), {}), 1);
}

TEST_F(FileKeychainTest, closesFilesAndFoldersToOthers) {
  ::umask(0);
  EXPECT_EQ(keychain.add(item, value), success);
  EXPECT_EQ(modeOf(file()), fs::perms{0600});
  for (fs::path path = place(); path != folder / ""; path = path.parent_path()) {
    if (path == fs::path(folder.path())) break;
    EXPECT_EQ(modeOf(path), fs::perms{0700}) << path;
  }
  ::umask(022);
}

TEST_F(FileKeychainTest, tightensAFolderThatWasLeftOpen) {
  fs::create_directories(place());
  fs::permissions(place(), fs::perms{0755});
  EXPECT_EQ(keychain.add(item, value), success);
  EXPECT_EQ(modeOf(place()), fs::perms{0700});
}

TEST_F(FileKeychainTest, doesNotTrustAFileThatOthersCanRead) {
  EXPECT_EQ(keychain.add(item, value), success);
  fs::permissions(file(), fs::perms{0640});
  expectUnavailable();
  EXPECT_EQ(fileText(file()), "secret");
}

TEST_F(FileKeychainTest, isUnavailableWhereTheItemIsNoPlainFile) {
  fs::create_directories(file());
  expectUnavailable();
  EXPECT_EQ(keychain.remove(item), notAvailable);
  fs::remove(file());
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
  expectUnavailable();
}

TEST_F(FileKeychainTest, followsNoSymbolicLink) {
  fs::create_directories(place());
  writeFile(folder / "elsewhere", "other");
  fs::create_symlink(folder / "elsewhere", file());
  expectUnavailable();
  fs::remove(file());
  fs::create_symlink(folder / "nowhere", file());
  expectUnavailable();
  EXPECT_EQ(fileText(folder / "elsewhere"), "other");
  EXPECT_EQ(keychain.remove(item), success);  // the link alone
  EXPECT_TRUE(fs::exists(folder / "elsewhere"));
}

TEST_F(FileKeychainTest, followsNoLinkInPlaceOfItsFolders) {
  fs::create_directories(folder / "elsewhere");
  fs::create_directories(place().parent_path());
  fs::create_directory_symlink(folder / "elsewhere", place());
  expectUnavailable();
  EXPECT_TRUE(fs::is_empty(folder / "elsewhere"));
}

TEST_F(FileKeychainTest, refusesNamesThatLeadElsewhere) {
  for (const std::string& name :
       {std::string(), std::string("."), std::string(".."), std::string("../x"), std::string("a/b"),
        std::string("/etc/passwd"), std::string("a\0b", 3), std::string(300, 'a')}) {
    for (const KeychainItem& odd : {KeychainItem{name, "account", false}, KeychainItem{"service", name, false}}) {
      EXPECT_EQ(keychain.add(odd, value), notAvailable) << name;
      EXPECT_EQ(keychain.copyMatching(odd), std::unexpected(notAvailable)) << name;
      EXPECT_EQ(keychain.remove(odd), notAvailable) << name;
    }
  }
}

TEST_F(FileKeychainTest, refusesAnItemOverTheLimit) {
  EXPECT_EQ(keychain.add(item, value), success);
  fs::resize_file(file(), limits::storedFileBytes + 1);
  expectUnavailable();
}

TEST_F(FileKeychainTest, takesTheRemainsOfAnInterruptedWriteForNothing) {
  fs::create_directories(place());
  writeFile(place() / ".secrets-v1.new", "half a sec");
  EXPECT_EQ(keychain.copyMatching(item), std::unexpected(itemNotFound));
  EXPECT_EQ(keychain.add(item, value), success);
  EXPECT_EQ(keychain.copyMatching(item), value);
  EXPECT_FALSE(fs::exists(place() / ".secrets-v1.new"));
}

TEST_F(FileKeychainTest, isUnavailableWhereNoFolderCanBe) {
  writeFile(folder / "data", "a file");
  EXPECT_EQ(keychain.add(item, value), notAvailable);
  EXPECT_EQ(keychain.copyMatching(item), std::unexpected(notAvailable));
}

}  // namespace
}  // namespace tallyfox::linux_os
