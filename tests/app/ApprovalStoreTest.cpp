// Scans become a stable list: ids and first detections stay, missed dialogs get their grace, removed ones may keep
// their identity for a while.

#include "app/ApprovalStore.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <vector>

#include "app/AgentWorld.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox {
namespace {

using std::chrono::seconds;
using testing::IsEmpty;
using testing::SizeIs;

class ApprovalStoreTest : public testing::Test {
 protected:
  Date now() { return time.clock().now(); }
  Uuid onlyID() { return store.all().at(0).id; }

  memory::VirtualTime time;
  ApprovalStore store{Seconds(8), time.clock()};
};

TEST_F(ApprovalStoreTest, startsEmpty) {
  EXPECT_THAT(store.all(), IsEmpty());
}

TEST_F(ApprovalStoreTest, givesADialogAnIdOfItsOwn) {
  const PendingApproval scanned = scannedApproval(1, now());
  store.replace({scanned});
  EXPECT_NE(onlyID(), scanned.id);
  PendingApproval expected = scanned;
  expected.id = onlyID();
  EXPECT_EQ(store.approval(onlyID()), expected);
  EXPECT_EQ(store.approval(scanned.id), std::nullopt);
}

TEST_F(ApprovalStoreTest, keepsIdAndFirstDetectionOfADialogSeenAgain) {
  const Date first = now();
  store.replace({scannedApproval(1, first)});
  const Uuid id = onlyID();
  time.advance(seconds(2));
  PendingApproval again = scannedApproval(1, now());
  again.messageLines = {"3 items are left"};
  again.windowFrame = {1, 2, 3, 4};
  again.suppressionID = Uuid::random();
  again.buttons.pop_back();
  store.replace({again});
  ASSERT_THAT(store.all(), SizeIs(1));
  again.id = id;
  again.detectedAt = first;
  EXPECT_EQ(store.all().at(0), again);
}

TEST_F(ApprovalStoreTest, keepsAMissedDialogForItsGraceAndDropsItAfter) {
  store.replace({scannedApproval(1, now())});
  time.advance(seconds(8));
  store.replace({});
  EXPECT_THAT(store.all(), SizeIs(1)) << "the grace is over only when it is exceeded";
  time.advance(Seconds(0.001));
  store.replace({});
  EXPECT_THAT(store.all(), IsEmpty());
}

TEST_F(ApprovalStoreTest, measuresTheGraceFromTheLastScanThatSawTheDialog) {
  store.replace({scannedApproval(1)});
  time.advance(seconds(6));
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  time.advance(seconds(6));
  store.replace({});
  ASSERT_THAT(store.all(), SizeIs(1));
  store.replace({scannedApproval(1)});
  EXPECT_EQ(onlyID(), id);
}

TEST_F(ApprovalStoreTest, keepsNoDialogLongerBecauseTheClockWasSetBack) {
  store.replace({scannedApproval(1, now())});
  time.setWallClock(now() - seconds(3600));
  store.replace({});
  EXPECT_THAT(store.all(), SizeIs(1));
  time.advance(Seconds(8.001));
  store.replace({});
  EXPECT_THAT(store.all(), IsEmpty());
}

TEST_F(ApprovalStoreTest, drawsANewIdForADialogThatComesBackAfterItsDrop) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  time.advance(seconds(9));
  store.replace({});
  store.replace({scannedApproval(1)});
  EXPECT_NE(onlyID(), id);
}

TEST_F(ApprovalStoreTest, mergesTwoOfTheSameFingerprintInOneScan) {
  PendingApproval earlier = scannedApproval(1, now());
  PendingApproval later = scannedApproval(1, now() + seconds(5));
  later.windowTitle = "Later";
  store.replace({earlier, later});
  ASSERT_THAT(store.all(), SizeIs(1));
  EXPECT_EQ(store.all().at(0).windowTitle, "Later");
  EXPECT_EQ(store.all().at(0).detectedAt, earlier.detectedAt);
}

TEST_F(ApprovalStoreTest, listsTheOldestFirst) {
  const Date ten = now();
  store.replace({scannedApproval(3, ten + seconds(3)), scannedApproval(1, ten + seconds(1)),
                 scannedApproval(2, ten + seconds(2))});
  std::vector<Date> dates;
  for (const PendingApproval& approval : store.all())
    dates.push_back(approval.detectedAt);
  EXPECT_THAT(dates, testing::ElementsAre(ten + seconds(1), ten + seconds(2), ten + seconds(3)));
}

TEST_F(ApprovalStoreTest, listsDialogsOfTheSameMomentAlwaysAlike) {
  std::vector<PendingApproval> scanned;
  for (std::uint8_t i = 1; i <= 20; ++i)
    scanned.push_back(scannedApproval(i, now()));
  store.replace(scanned);
  const auto first = store.all();
  store.replace(scanned);
  EXPECT_EQ(store.all(), first);
}

TEST_F(ApprovalStoreTest, forgetsARemovedDialogsIdentityWithoutRetention) {
  for (const std::optional<Seconds> duration :
       {std::optional<Seconds>(), std::optional(Seconds(0)), std::optional(Seconds(-1))}) {
    store.replace({scannedApproval(1)});
    const Uuid id = onlyID();
    store.remove(id, duration);
    EXPECT_THAT(store.all(), IsEmpty());
    EXPECT_EQ(store.approval(id), std::nullopt);
    store.replace({scannedApproval(1)});
    EXPECT_NE(onlyID(), id);
  }
}

TEST_F(ApprovalStoreTest, givesTheSameIdBackWithinTheRetention) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.remove(id, Seconds(30));
  EXPECT_THAT(store.all(), IsEmpty());
  time.advance(seconds(29));
  store.replace({scannedApproval(1)});
  EXPECT_EQ(onlyID(), id);
}

TEST_F(ApprovalStoreTest, drawsANewIdWhenTheRetentionIsOver) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.remove(id, Seconds(30));
  time.advance(seconds(30));
  store.replace({scannedApproval(1)});
  EXPECT_NE(onlyID(), id);
}

TEST_F(ApprovalStoreTest, drawsANewIdWhenTheRetentionIsGivenUp) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.remove(id, Seconds(30));
  store.remove(id, std::nullopt);
  store.replace({scannedApproval(1)});
  EXPECT_NE(onlyID(), id);
}

TEST_F(ApprovalStoreTest, retainsAnewFromTheLastRemoval) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.remove(id, Seconds(30));
  time.advance(seconds(20));
  store.remove(id, Seconds(30));
  time.advance(seconds(20));
  store.replace({scannedApproval(1)});
  EXPECT_EQ(onlyID(), id);
}

TEST_F(ApprovalStoreTest, retainsTheIdentityOfOneDialogOnly) {
  store.replace({scannedApproval(1), scannedApproval(2)});
  const auto before = store.all();
  store.remove(before.at(0).id, Seconds(30));
  store.remove(before.at(1).id, std::nullopt);
  store.replace({scannedApproval(1), scannedApproval(2)});
  std::size_t kept = 0;
  for (const PendingApproval& approval : before)
    kept += store.approval(approval.id).has_value() ? 1U : 0U;
  EXPECT_EQ(kept, 1U);
  EXPECT_TRUE(store.approval(before.at(0).id).has_value());
}

TEST_F(ApprovalStoreTest, dropsEachDialogByItsOwnTime) {
  store.replace({scannedApproval(1), scannedApproval(2)});
  time.advance(seconds(5));
  store.replace({scannedApproval(2)});
  time.advance(seconds(5));
  store.replace({scannedApproval(3)});
  std::vector<std::string> titles;
  for (const PendingApproval& approval : store.all())
    titles.push_back(approval.windowTitle);
  EXPECT_THAT(titles, testing::UnorderedElementsAre("Dialog 2", "Dialog 3"));
}

TEST_F(ApprovalStoreTest, endsTheRetentionWhenTheDialogComesBack) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.remove(id, Seconds(30));
  store.replace({scannedApproval(1)});
  time.advance(seconds(31));
  store.replace({scannedApproval(1)});
  EXPECT_EQ(onlyID(), id);
}

TEST_F(ApprovalStoreTest, retainsForeverWhenAskedForInfinity) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.remove(id, Seconds(std::numeric_limits<double>::infinity()));
  time.advance(Seconds(86400));
  store.replace({scannedApproval(1)});
  EXPECT_EQ(onlyID(), id);
}

TEST_F(ApprovalStoreTest, ignoresTheRemovalOfWhatItDoesNotKnow) {
  store.replace({scannedApproval(1)});
  store.remove(Uuid::random(), Seconds(30));
  EXPECT_THAT(store.all(), SizeIs(1));
}

TEST_F(ApprovalStoreTest, removesEveryApprovalOfASuppressedIdentity) {
  PendingApproval first = scannedApproval(1);
  PendingApproval second = scannedApproval(2);
  second.suppressionID = first.suppressionID;
  store.replace({first, second, scannedApproval(3)});
  store.removeSuppressed(first.suppressionID);
  ASSERT_THAT(store.all(), SizeIs(1));
  EXPECT_EQ(store.all().at(0).windowTitle, "Dialog 3");
}

TEST_F(ApprovalStoreTest, drawsANewIdAfterASuppression) {
  store.replace({scannedApproval(1)});
  const Uuid id = onlyID();
  store.removeSuppressed(scannedApproval(1).suppressionID);
  store.replace({scannedApproval(1)});
  EXPECT_NE(onlyID(), id);
}

}  // namespace
}  // namespace tallyfox
