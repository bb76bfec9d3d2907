// What counts as running from an Applications folder.

#include "system/InstallLocation.hpp"

#include <gtest/gtest.h>

#include <string>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

bool countsAsInstalled(const std::string& path) {
  memory::MemoryBundle bundle;
  bundle.directories = {"/Applications", "/Users/owner/Applications"};
  bundle.location = path;
  return isRunningFromApplications(bundle);
}

TEST(InstallLocation, countsAnythingBelowAnApplicationsFolder) {
  EXPECT_TRUE(countsAsInstalled("/Applications/Tallyfox.app"));
  EXPECT_TRUE(countsAsInstalled("/Applications/Utilities/Tallyfox.app"));
}

TEST(InstallLocation, countsTheFolderItself) {
  EXPECT_TRUE(countsAsInstalled("/Applications"));
}

TEST(InstallLocation, countsTheOwnersOwnApplicationsFolder) {
  EXPECT_TRUE(countsAsInstalled("/Users/owner/Applications/Tallyfox.app"));
}

TEST(InstallLocation, doesNotCountAFolderThatOnlyBeginsAlike) {
  EXPECT_FALSE(countsAsInstalled("/ApplicationsOld/Tallyfox.app"));
  EXPECT_FALSE(countsAsInstalled("/Users/owner/Applications2/Tallyfox.app"));
}

TEST(InstallLocation, judgesALinkedCopyByWhereItReallyLies) {
  memory::MemoryBundle bundle;
  bundle.location = "/Applications/Tallyfox.app";
  EXPECT_TRUE(isRunningFromApplications(bundle));
  bundle.links["/Applications/Tallyfox.app"] = "/Users/owner/Downloads/Tallyfox.app";
  EXPECT_FALSE(isRunningFromApplications(bundle));
  bundle.location = "/Users/owner/Desktop/Tallyfox";
  bundle.links["/Users/owner/Desktop/Tallyfox"] = "/Applications/Tallyfox.app";
  EXPECT_TRUE(isRunningFromApplications(bundle));
}

TEST(InstallLocation, doesNotCountOtherFoldersThatHoldOne) {
  EXPECT_FALSE(countsAsInstalled("/Users/owner/Backup/Applications/Tallyfox.app"));
  EXPECT_FALSE(countsAsInstalled("/Users/other/Applications/Tallyfox.app"));
  EXPECT_FALSE(countsAsInstalled("/applications/Tallyfox.app"));
}

TEST(InstallLocation, countsNothingWithoutApplicationsFolders) {
  memory::MemoryBundle bundle;
  bundle.directories = {};
  EXPECT_FALSE(isRunningFromApplications(bundle));
}

}  // namespace
}  // namespace tallyfox
