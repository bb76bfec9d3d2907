// Shows the remote controls of the services in memory: planned failures, and the record of what was asked.

#include "platform/memory/MemoryServices.hpp"

#include <gtest/gtest.h>

#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::memory {
namespace {

const KeychainItem legacyItem{"com.tallyfox.agent", "installation-secrets-v1", false};
const KeychainItem protectedItem{"com.tallyfox.agent", "installation-secrets-v1", true};

TEST(MemoryKeychain, failsTheNextCallOfOneOperationInOneKeychain) {
  MemoryKeychain keychain;
  keychain.put(legacyItem, Bytes{1});
  keychain.failNext(MemoryKeychain::Operation::copyMatching, false, keychain_status::notAvailable);
  EXPECT_EQ(keychain.copyMatching(protectedItem), std::unexpected(keychain_status::itemNotFound));
  EXPECT_EQ(keychain.update(legacyItem, Bytes{2}), keychain_status::success);
  EXPECT_EQ(keychain.copyMatching(legacyItem), std::unexpected(keychain_status::notAvailable));
  EXPECT_EQ(keychain.copyMatching(legacyItem), Bytes{2});
}

TEST(MemoryKeychain, playsPlannedFailuresInTheOrderPlanned) {
  MemoryKeychain keychain;
  keychain.failNext(MemoryKeychain::Operation::add, true, keychain_status::duplicateItem);
  keychain.failNext(MemoryKeychain::Operation::add, true, keychain_status::notAvailable);
  EXPECT_EQ(keychain.add(protectedItem, Bytes{1}), keychain_status::duplicateItem);
  EXPECT_EQ(keychain.add(protectedItem, Bytes{1}), keychain_status::notAvailable);
  EXPECT_EQ(keychain.add(protectedItem, Bytes{1}), keychain_status::success);
  EXPECT_EQ(keychain.stored(protectedItem), Bytes{1});
}

TEST(MemoryKeychain, readsOtherBytesThanStoredWhenCorrupt) {
  MemoryKeychain keychain;
  keychain.put(legacyItem, Bytes{1, 2});
  keychain.corruptReads(true);
  EXPECT_NE(keychain.copyMatching(legacyItem), (Bytes{1, 2}));
  EXPECT_EQ(keychain.stored(legacyItem), (Bytes{1, 2}));
}

TEST(MemoryKeychain, notesEveryCallInOrder) {
  MemoryKeychain keychain;
  static_cast<void>(keychain.update(protectedItem, Bytes{1}));
  static_cast<void>(keychain.add(protectedItem, Bytes{1}));
  static_cast<void>(keychain.copyMatching(legacyItem));
  static_cast<void>(keychain.remove(legacyItem));
  EXPECT_EQ(keychain.calls(), (std::vector<std::string>{"update data-protection", "add data-protection",
                                                        "copyMatching legacy", "remove legacy"}));
}

TEST(MemoryUserDefaults, notesEveryWriteAndRemoval) {
  MemoryUserDefaults defaults;
  defaults.setObject("key", 1.0);
  defaults.removeObject("key");
  using Write = std::pair<std::string, std::optional<DefaultsValue>>;
  EXPECT_EQ(defaults.writes(), (std::vector<Write>{{"key", DefaultsValue(1.0)}, {"key", std::nullopt}}));
  EXPECT_TRUE(defaults.values().empty());
}

TEST(MemoryInstanceLock, tellsWhoseLockIsHeld) {
  MemoryInstanceLock lock;
  const LockResult held = lock.acquire("agent.lock");
  EXPECT_TRUE(lock.isHeld("agent.lock"));
  EXPECT_FALSE(lock.isHeld("other.lock"));
}

TEST(MemoryNotifications, answersAsPlannedAndKeepsWhatWasDelivered) {
  VirtualTime time;
  const auto queue = time.makeQueue("main");
  MemoryNotifications notifications(*queue);
  notifications.authorization = std::unexpected("not allowed");
  std::string error;
  notifications.requestAuthorization([&](const std::expected<bool, std::string>& answer) { error = answer.error(); });
  EXPECT_EQ(error, "") << "never inside the call";
  time.runDue();
  EXPECT_EQ(error, "not allowed");
  EXPECT_EQ(notifications.authorizationRequests, 1);
  notifications.add({"id", "unauthorized", "body"});
  notifications.authorization = true;
  notifications.add({"id", "title", "body"});
  EXPECT_EQ(notifications.delivered(), (std::vector<UserNotification>{{"id", "title", "body"}}));
}

TEST(MemoryBundle, followsItsLinksAndKnowsAnApplicationByItsEnding) {
  MemoryBundle bundle;
  EXPECT_EQ(bundle.path(), "/Applications/Tallyfox.app");
  EXPECT_TRUE(bundle.isApplicationBundle());
  bundle.links["/Applications/Tallyfox.app"] = "/build/tallyfox";
  EXPECT_EQ(bundle.path(), "/build/tallyfox");
  EXPECT_FALSE(bundle.isApplicationBundle());
}

TEST(MemoryLoginItemService, playsEveryStatusAndCountsEveryAttempt) {
  MemoryLoginItemService service;
  for (const auto status :
       {LoginItemServiceStatus::notRegistered, LoginItemServiceStatus::enabled,
        LoginItemServiceStatus::requiresApproval, LoginItemServiceStatus::notFound, LoginItemServiceStatus::unknown}) {
    service.current = status;
    EXPECT_EQ(service.status(), status);
  }
  service.registrationError = "not permitted";
  EXPECT_EQ(service.registerItem(), (std::expected<void, std::string>(std::unexpected("not permitted"))));
  service.registrationError.reset();
  service.afterRegistration = LoginItemServiceStatus::notFound;
  EXPECT_TRUE(service.registerItem().has_value());
  EXPECT_EQ(service.status(), LoginItemServiceStatus::notFound);
  EXPECT_EQ(service.registrations, 2);
}

TEST(MemoryConsole, keepsTheLinesUntilCleared) {
  MemoryConsole console;
  console.printLine("one");
  console.printLine("two");
  EXPECT_EQ(console.lines(), (std::vector<std::string>{"one", "two"}));
  console.clear();
  EXPECT_TRUE(console.lines().empty());
}

}  // namespace
}  // namespace tallyfox::memory
