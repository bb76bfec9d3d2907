// Preferences on the disk: replaced as a whole, and a file that cannot be read is told of, kept, and never in the way.

#include "platform/linux/FileUserDefaults.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

#include "base/IllFormedJson.hpp"
#include "base/Limits.hpp"
#include "base/Uuid.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/linux/DefaultsEncoding.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class FileUserDefaultsTest : public testing::Test {
 protected:
  [[nodiscard]] fs::path file() const { return folder / "config/tallyfox/defaults.json"; }
  [[nodiscard]] fs::path broken() const { return folder / "config/tallyfox/defaults.json.broken"; }
  std::unique_ptr<FileUserDefaults> open() {
    return std::make_unique<FileUserDefaults>((folder / "config").string(), console);
  }

  TemporaryFolder folder;
  memory::MemoryConsole console;
};

TEST_F(FileUserDefaultsTest, writesNothingBeforeTheFirstChange) {
  auto defaults = open();
  defaults->removeObject("absent");
  EXPECT_FALSE(fs::exists(folder / "config"));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(FileUserDefaultsTest, keepsItsFileToItself) {
  open()->setObject("key", true);
  EXPECT_EQ(modeOf(file()), fs::perms{0600});
  EXPECT_EQ(modeOf(file().parent_path()), fs::perms{0700});
  EXPECT_EQ(fileText(file()), R"({"key":{"type":"bool","value":true}})");
}

TEST_F(FileUserDefaultsTest, keepsNumbersThatJsonLacks) {
  const double infinity = std::numeric_limits<double>::infinity();
  auto defaults = open();
  defaults->setObject("up", infinity);
  defaults->setObject("down", -infinity);
  defaults->setObject("none", std::nan(""));
  defaults = open();
  EXPECT_EQ(defaults->object("up"), DefaultsValue(infinity));
  EXPECT_EQ(defaults->object("down"), DefaultsValue(-infinity));
  EXPECT_TRUE(std::isnan(std::get<double>(defaults->object("none").value())));
}

TEST_F(FileUserDefaultsTest, startsEmptyFromAFileThatIsBrokenAndKeepsItAside) {
  for (const std::string content :
       {"", "{", "[]", "\"text\"", R"({"key":true})", R"({"key":{"type":"bool","value":1}})",
        R"({"key":{"type":"date","value":"now"}})", R"({"key":{"type":"data","value":"*"}})",
        R"({"key":{"type":"double","value":"many"}})", R"({"key":{"type":"colour","value":1}})",
        R"({"key":{"value":1}})"}) {
    fs::remove_all(folder / "config");
    console.clear();
    writeFile(file(), content);
    auto defaults = open();
    EXPECT_THAT(console.lines(), ElementsAre(StartsWith("Unable to read preferences: "))) << content;
    EXPECT_EQ(defaults->object("key"), std::nullopt);
    EXPECT_EQ(fileText(file()), content);
    defaults->setObject("new", 1.0);
    defaults->setObject("new", 2.0);
    EXPECT_EQ(fileText(broken()), content);
    console.clear();
    EXPECT_EQ(open()->object("new"), DefaultsValue(2.0));
    EXPECT_THAT(console.lines(), IsEmpty());
  }
}

TEST_F(FileUserDefaultsTest, startsEmptyFromEveryIllFormedFile) {
  for (const auto& [name, content] : illFormedJson(R"({"key":{"type":"strings","value":["a","ü"]}})")) {
    console.clear();
    writeFile(file(), content);
    EXPECT_EQ(open()->object("key"), std::nullopt) << name;
    EXPECT_THAT(console.lines(), ElementsAre(StartsWith("Unable to read preferences: "))) << name;
  }
}

TEST_F(FileUserDefaultsTest, refusesStoredDataThatIsNoStrictBase64) {
  for (const std::string data : {"Zg", "Zg=", "Zh==", "Zg==\\n", "-_-_", "Zg==Zg=="}) {
    writeFile(file(), R"({"key":{"type":"data","value":")" + data + "\"}}");
    EXPECT_EQ(open()->object("key"), std::nullopt) << data;
  }
  EXPECT_EQ(console.lines().size(), 6U);
}

TEST_F(FileUserDefaultsTest, treatsAFileThatIsTooLargeOrNoFileAsBroken) {
  writeFile(file(), "{}");
  fs::resize_file(file(), limits::preferencesBytes + 1);
  open()->setObject("key", true);
  EXPECT_TRUE(fs::exists(broken()));
  fs::remove_all(folder / "config");
  fs::create_directories(file());
  open()->setObject("key", true);
  EXPECT_TRUE(fs::is_directory(broken()));
  EXPECT_EQ(open()->object("key"), DefaultsValue(true));
}

TEST_F(FileUserDefaultsTest, saysOnceThatItCannotWriteAndGoesOn) {
  writeFile(folder / "config", "a file where the folder should be");
  auto defaults = open();
  console.clear();
  defaults->setObject("key", 1.0);
  defaults->setObject("key", 2.0);
  EXPECT_THAT(console.lines(), ElementsAre(StartsWith("Unable to save preferences: ")));
  EXPECT_EQ(defaults->object("key"), DefaultsValue(2.0));
}

TEST_F(FileUserDefaultsTest, readsBackAHundredThousandMutedDialogs) {
  std::vector<std::string> muted;
  for (int number = 0; number < 100'000; ++number) {
    Uuid id;
    for (std::size_t byte = 0; byte < 4; ++byte)
      id.bytes[byte] = static_cast<std::uint8_t>(number >> (8 * byte));
    muted.push_back(id.text());
  }
  open()->setObject("key", muted);
  EXPECT_GT(fs::file_size(file()), limits::storedFileBytes);
  EXPECT_EQ(open()->object("key"), DefaultsValue(muted));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(FileUserDefaultsTest, writesNothingThatItWouldNotReadAgain) {
  auto defaults = open();
  defaults->setObject("small", true);
  defaults->setObject("large", std::string(limits::preferencesBytes, 'x'));
  EXPECT_THAT(console.lines(), ElementsAre("Unable to save preferences: File too large."));
  defaults = open();
  EXPECT_EQ(defaults->object("small"), DefaultsValue(true));
  EXPECT_EQ(defaults->object("large"), std::nullopt);
  EXPECT_FALSE(fs::exists(broken()));
}

TEST_F(FileUserDefaultsTest, takesChangesFromSeveralThreads) {
  auto defaults = open();
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number)
    threads.emplace_back([&, number] {
      for (int round = 0; round < 10; ++round)
        defaults->setObject("key" + std::to_string(number), double(round));
    });
  for (auto& thread : threads)
    thread.join();
  defaults = open();
  for (int number = 0; number < 4; ++number)
    EXPECT_EQ(defaults->object("key" + std::to_string(number)), DefaultsValue(9.0));
}

}  // namespace
}  // namespace tallyfox::linux_os
