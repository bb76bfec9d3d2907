// The muted dialogs: what is stored under the key, what of a damaged value survives, and that a restart changes
// nothing.

#include "app/ApprovalSuppressionStore.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using testing::IsEmpty;
using testing::SizeIs;
using Texts = std::vector<std::string>;

constexpr const char* key = "tallyfox.suppressed-approval-ids";
const std::string first = "0F000000-0000-0000-0000-000000000000";
const std::string second = "A1000000-0000-0000-0000-000000000000";
Uuid id(const std::string& text) {
  return *Uuid::parsed(text);
}

class ApprovalSuppressionStoreTest : public testing::Test {
 protected:
  Texts stored() { return std::get<Texts>(defaults.object(key).value()); }
  memory::MemoryUserDefaults defaults;
};

TEST_F(ApprovalSuppressionStoreTest, writesSortedUpperCaseTexts) {
  ApprovalSuppressionStore store(defaults);
  store.suppress(id(second));
  store.suppress(id(first));
  EXPECT_EQ(stored(), (Texts{first, second}));
  EXPECT_TRUE(store.contains(id(first)));
  EXPECT_FALSE(store.contains(Uuid::random()));
}

TEST_F(ApprovalSuppressionStoreTest, writesTheSameAgainWhenSuppressedTwice) {
  ApprovalSuppressionStore store(defaults);
  store.suppress(id(first));
  store.suppress(id(first));
  ASSERT_THAT(defaults.writes(), SizeIs(2));
  EXPECT_EQ(defaults.writes().at(0), defaults.writes().at(1));
  EXPECT_EQ(stored(), Texts{first});
}

TEST_F(ApprovalSuppressionStoreTest, rewritesWhenAnAbsentIdIsUnsuppressed) {
  ApprovalSuppressionStore store(defaults);
  store.unsuppress(id(first));
  ASSERT_THAT(defaults.writes(), SizeIs(1));
  EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(ApprovalSuppressionStoreTest, skipsMalformedEntriesAndDropsThemAtTheNextSave) {
  defaults.setObject(key, Texts{"not-a-uuid", first, "0f000000-0000-0000-0000-000000000000"});
  ApprovalSuppressionStore store(defaults);
  EXPECT_TRUE(store.contains(id(first)));
  EXPECT_THAT(stored(), SizeIs(3));
  store.suppress(id(first));
  EXPECT_EQ(stored(), Texts{first});
}

TEST_F(ApprovalSuppressionStoreTest, startsEmptyOnAValueOfAnotherType) {
  defaults.setObject(key, first);
  ApprovalSuppressionStore store(defaults);
  EXPECT_FALSE(store.contains(id(first)));
}

TEST_F(ApprovalSuppressionStoreTest, remembersAcrossARestart) {
  ApprovalSuppressionStore(defaults).suppress(id(first));
  EXPECT_TRUE(ApprovalSuppressionStore(defaults).contains(id(first)));
  ApprovalSuppressionStore(defaults).unsuppress(id(first));
  EXPECT_FALSE(ApprovalSuppressionStore(defaults).contains(id(first)));
}

}  // namespace
}  // namespace tallyfox
