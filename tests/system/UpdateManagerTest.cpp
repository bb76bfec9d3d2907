// When there are updates at all, and how one that was found by itself is told of without a window of its own.

#include "system/UpdateManager.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* feed = "https://updates.example.com/appcast.xml";

class UpdateManagerTest : public testing::Test {
 protected:
  UpdateManagerTest() { bundle.information = {{"SUFeedURL", feed}, {"SUPublicEDKey", "key"}}; }
  std::unique_ptr<UpdateManager> make() {
    return UpdateManager::makeIfConfigured(bundle, &updater, [this] { ++changes; });
  }

  memory::MemoryBundle bundle;
  memory::MemoryUpdater updater;
  int changes = 0;
};

TEST_F(UpdateManagerTest, existsInABundleThatNamesFeedAndKey) {
  EXPECT_NE(make(), nullptr);
  EXPECT_EQ(updater.starts, 0) << "the updater starts when it is first used";
}

TEST_F(UpdateManagerTest, doesNotExistWithoutABundleOrAFeedOrAKeyOrAnUpdater) {
  const auto complete = bundle.information;
  for (const auto& [key, value] : complete) {
    bundle.information.erase(key);
    EXPECT_EQ(make(), nullptr) << "without " << key;
    bundle.information[key] = "";
    EXPECT_EQ(make(), nullptr) << "with an empty " << key;
    bundle.information = complete;
  }
  bundle.location = "/home/owner/build/tallyfox";
  EXPECT_EQ(make(), nullptr) << "a bare executable";
  bundle.location = "/Applications/Tallyfox.app";
  EXPECT_EQ(UpdateManager::makeIfConfigured(bundle, nullptr, [] {}), nullptr);
}

TEST_F(UpdateManagerTest, startsTheUpdaterOnce) {
  const auto manager = make();
  manager->start();
  manager->checkForUpdates();
  manager->checkForUpdates();
  EXPECT_EQ(updater.starts, 1);
  EXPECT_EQ(updater.checks, 2);
}

TEST_F(UpdateManagerTest, startsTheUpdaterForTheFirstCheck) {
  make()->checkForUpdates();
  EXPECT_EQ(updater.starts, 1);
  EXPECT_EQ(updater.checks, 1);
}

TEST_F(UpdateManagerTest, tellsOfAnUpdateInPlaceOfAWindow) {
  const auto manager = make();
  manager->start();
  updater.findScheduledUpdate({"2.1"});
  EXPECT_THAT(updater.windows, IsEmpty());
  EXPECT_EQ(manager->availableVersion(), "2.1");
  EXPECT_EQ(changes, 1);
}

TEST_F(UpdateManagerTest, neverLetsAScheduledUpdateOpenAWindow) {
  const auto manager = make();
  EXPECT_TRUE(manager->supportsGentleScheduledUpdateReminders());
  EXPECT_FALSE(manager->shouldHandleShowingScheduledUpdate({"2.1"}, false));
  EXPECT_FALSE(manager->shouldHandleShowingScheduledUpdate({"2.1"}, true));
}

TEST_F(UpdateManagerTest, leavesAnUpdateToTheUpdaterThatShowsIt) {
  const auto manager = make();
  manager->willHandleShowingUpdate(true, {"2.1"});
  EXPECT_EQ(manager->availableVersion(), std::nullopt);
  EXPECT_EQ(changes, 0);
}

TEST_F(UpdateManagerTest, forgetsTheUpdateOnceTheOwnerTurnsToIt) {
  const auto manager = make();
  manager->start();
  updater.findScheduledUpdate({"2.1"});
  updater.attend({"2.1"});
  EXPECT_EQ(manager->availableVersion(), std::nullopt);
  EXPECT_EQ(changes, 2);
  updater.finishSession();
  EXPECT_EQ(changes, 2) << "nothing was left to forget";
}

TEST_F(UpdateManagerTest, forgetsTheUpdateWhenItsCourseEnds) {
  const auto manager = make();
  manager->start();
  updater.finishSession();
  EXPECT_EQ(changes, 0);
  updater.findScheduledUpdate({"2.1"});
  updater.finishSession();
  EXPECT_EQ(manager->availableVersion(), std::nullopt);
  EXPECT_EQ(changes, 2);
}

TEST_F(UpdateManagerTest, takesTheNewerOfTwoUpdates) {
  const auto manager = make();
  manager->start();
  updater.findScheduledUpdate({"2.1"});
  updater.findScheduledUpdate({"2.2"});
  EXPECT_EQ(manager->availableVersion(), "2.2");
  EXPECT_EQ(changes, 2);
}

}  // namespace
}  // namespace tallyfox
