// What the program is started for on a Mac, where the system and developer tools pass arguments of their own.

#include "platform/macos/LaunchArguments.hpp"

#include <gtest/gtest.h>

namespace tallyfox::mac_os {
namespace {

TEST(LaunchArguments, startTheAgentWhereThereAreNone) {
  EXPECT_EQ(launchPurpose({}), LaunchPurpose::runAgent);
}

TEST(LaunchArguments, askForHelpOrTheVersion) {
  EXPECT_EQ(launchPurpose({"--help"}), LaunchPurpose::showHelp);
  EXPECT_EQ(launchPurpose({"-h"}), LaunchPurpose::showHelp);
  EXPECT_EQ(launchPurpose({"--version"}), LaunchPurpose::showVersion);
  EXPECT_EQ(launchPurpose({"--version", "--help"}), LaunchPurpose::showHelp);
}

TEST(LaunchArguments, leaveTheSystemsArgumentsToTheSystem) {
  EXPECT_EQ(launchPurpose({"-psn_0_12345"}), LaunchPurpose::runAgent);
  EXPECT_EQ(launchPurpose({"-AppleLanguages", "(de)"}), LaunchPurpose::runAgent);
  EXPECT_EQ(launchPurpose({"-NSDocumentRevisionsDebugMode", "YES", "-ApplePersistenceIgnoreState", "YES"}),
            LaunchPurpose::runAgent);
  EXPECT_EQ(launchPurpose({"-AppleLocale", "--version"}), LaunchPurpose::showVersion);
}

TEST(LaunchArguments, refuseWhatNobodyKnows) {
  EXPECT_EQ(launchPurpose({"--colour"}).error(), "There is no option \"--colour\".");
  EXPECT_EQ(launchPurpose({"doctor"}).error(), "There is no command \"doctor\".");
  EXPECT_EQ(launchPurpose({"--version", "now"}).error(), "There is no command \"now\".");
}

TEST(LaunchArguments, areToldInTheUsage) {
  EXPECT_NE(usageText().find("--version"), std::string::npos);
  EXPECT_NE(usageText().find("--help"), std::string::npos);
}

}  // namespace
}  // namespace tallyfox::mac_os
