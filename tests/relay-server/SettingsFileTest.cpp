// Settings from a file: what a line is, what the command line keeps, and one line about what is wrong.
#include "SettingsFile.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "RelayOptions.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class SettingsFileTest : public ::testing::Test {
 protected:
  std::string written(const std::string& text) const {
    const auto file = directory.path() / "relay.conf";
    std::ofstream(file) << text;
    return file.string();
  }
  [[nodiscard]] auto given(const std::string& text, std::vector<const char*> arguments) const {
    const std::string file = written(text);
    arguments.insert(arguments.end(), {"--config", file.c_str()});
    return GivenOptions::read(arguments);
  }
  testing::TemporaryDirectory directory;
};

TEST_F(SettingsFileTest, hasALineForEachSetting) {
  const auto settings = settingsIn(written("# how it listens\n\nlisten = 127.0.0.1:8080 \r\n\t data=/srv/a = b\nx ="));
  ASSERT_TRUE(settings) << settings.error().description;
  EXPECT_THAT(*settings,
              ElementsAre(Setting{"--listen", "127.0.0.1:8080"}, Setting{"--data", "/srv/a = b"}, Setting{"--x", ""}));
}

TEST_F(SettingsFileTest, isReadWhereTheCommandLineIsSilent) {
  const std::string text = "listen = 127.0.0.1:1\ndata = d\ntrusted-proxy = 10.0.0.1\ntrusted-proxy = 10.0.0.2\n";
  const auto fromFile = given(text, {});
  ASSERT_TRUE(fromFile) << fromFile.error();
  EXPECT_EQ(fromFile->options.port, 1);
  EXPECT_EQ(fromFile->options.trustedProxies.size(), 2U);
  const auto both = given(text, {"--listen", "127.0.0.1:2", "--trusted-proxy", "10.0.0.3"});
  ASSERT_TRUE(both) << both.error();
  EXPECT_EQ(both->options.port, 2);
  EXPECT_EQ(both->options.trustedProxies, std::vector{*Network::parsed("10.0.0.3")});
  EXPECT_EQ(both->options.dataDirectory, "d");
}

TEST_F(SettingsFileTest, saysInOneLineWhatIsWrong) {
  const std::string good = "listen = 127.0.0.1:1\ndata = d\n";
  const std::vector<std::pair<std::string, std::string>> cases{
      {"listen 127.0.0.1:1\n", "relay.conf, line 1: no name = value"},
      {"\n--listen = 127.0.0.1:1\n", "relay.conf, line 2: no name of an option without its dashes"},
      {"= 1\n", "relay.conf, line 1: no name of an option"},
      {good + "port = 1\n", "relay.conf: port is no setting"},
      {good + "config = other\n", "relay.conf: config is no setting"},
      {good + "data = e\n", "relay.conf: data is given twice"},
      {good + "log-level = loud\n", "loud is no log level"},
      {"data = d\n", "--listen is missing"},
      {std::string(70'000, '#'), "relay.conf, line 1: the file is too long"},
  };
  for (const auto& [text, fault] : cases) {
    const auto read = given(text, {});
    ASSERT_FALSE(read) << fault;
    EXPECT_THAT(read.error(), HasSubstr(fault));
    EXPECT_THAT(read.error(), Not(HasSubstr("\n")));
  }
  const std::vector<const char*> missing{"--config", "/nowhere/relay.conf"};
  EXPECT_EQ(GivenOptions::read(missing).error(), "Unable to read /nowhere/relay.conf: No such file or directory");
  const std::string folder = directory.path().string();
  const std::vector<const char*> notAFile{"--config", folder.c_str()};
  EXPECT_THAT(GivenOptions::read(notAFile).error(), EndsWith(": Is a directory"));
}

TEST(ChangedOptions, areThoseWithOtherTexts) {
  const GivenOptions::Texts before{{"--a", {"1"}}, {"--b", {"1", "2"}}, {"--c", {"1"}}};
  const GivenOptions::Texts after{{"--a", {"1"}}, {"--b", {"1"}}, {"--d", {"1"}}};
  EXPECT_THAT(changedOptions(before, after), ElementsAre("--b", "--c", "--d"));
  EXPECT_TRUE(isTakenAtRunTime("--log-level"));
  EXPECT_FALSE(isTakenAtRunTime("--listen"));
}

}  // namespace
}  // namespace tallyfox::server
