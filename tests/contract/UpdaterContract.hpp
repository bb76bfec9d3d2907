#pragma once

/// What every updater keeps to: it asks its delegate before it opens a window by itself, and is silent once ended.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, UpdaterContract, TheBackend), where TheBackend is
/// default-constructible and has
///   Updater& updater();
///   void publish(const UpdateItem& update);   a check of the updater's own finds this update
///   void attend(const UpdateItem& update);    the owner turns to it
///   void finishSession();                     and is done with it
///   int windows();                            how many updates the updater has shown in windows of its own
///   int checks();                             how many checks were asked for

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/Updater.hpp"

namespace tallyfox::contract {

/// Notes what it hears.
class RecordingUpdaterDelegate : public UpdaterDelegate {
 public:
  bool supportsGentleScheduledUpdateReminders() override { return isGentle; }
  bool shouldHandleShowingScheduledUpdate(const UpdateItem& update, bool /*inImmediateFocus*/) override {
    heard.push_back("asked about " + update.displayVersion);
    return wantsWindow;
  }
  void willHandleShowingUpdate(bool isShownByUpdater, const UpdateItem& update) override {
    heard.push_back((isShownByUpdater ? "updater shows " : "delegate shows ") + update.displayVersion);
  }
  void didReceiveUserAttention(const UpdateItem& update) override {
    heard.push_back("attention for " + update.displayVersion);
  }
  void willFinishUpdateSession() override { heard.emplace_back("finished"); }

  bool isGentle = true;
  bool wantsWindow = false;
  std::vector<std::string> heard;
};

template <typename Backend>
class UpdaterContract : public testing::Test {
 protected:
  Backend backend;
  RecordingUpdaterDelegate delegate;
};

TYPED_TEST_SUITE_P(UpdaterContract);

TYPED_TEST_P(UpdaterContract, leavesAnUpdateToADelegateThatWantsNoWindow) {
  const auto running = this->backend.updater().start(this->delegate);
  this->backend.publish({"2.1"});
  EXPECT_THAT(this->delegate.heard, testing::ElementsAre("asked about 2.1", "delegate shows 2.1"));
  EXPECT_EQ(this->backend.windows(), 0);
}

TYPED_TEST_P(UpdaterContract, showsAnUpdateThatTheDelegateLeavesToIt) {
  this->delegate.wantsWindow = true;
  const auto running = this->backend.updater().start(this->delegate);
  this->backend.publish({"2.1"});
  EXPECT_THAT(this->delegate.heard, testing::ElementsAre("asked about 2.1", "updater shows 2.1"));
  EXPECT_EQ(this->backend.windows(), 1);
}

TYPED_TEST_P(UpdaterContract, tellsOfAttentionAndOfTheEnd) {
  const auto running = this->backend.updater().start(this->delegate);
  this->backend.attend({"2.1"});
  this->backend.finishSession();
  EXPECT_THAT(this->delegate.heard, testing::ElementsAre("attention for 2.1", "finished"));
}

TYPED_TEST_P(UpdaterContract, looksWhenAsked) {
  const auto running = this->backend.updater().start(this->delegate);
  EXPECT_EQ(this->backend.checks(), 0);
  running->checkForUpdates();
  EXPECT_EQ(this->backend.checks(), 1);
}

TYPED_TEST_P(UpdaterContract, isSilentOnceEnded) {
  auto running = this->backend.updater().start(this->delegate);
  running.reset();
  this->backend.publish({"2.1"});
  this->backend.attend({"2.1"});
  this->backend.finishSession();
  EXPECT_THAT(this->delegate.heard, testing::IsEmpty());
}

REGISTER_TYPED_TEST_SUITE_P(UpdaterContract, leavesAnUpdateToADelegateThatWantsNoWindow,
                            showsAnUpdateThatTheDelegateLeavesToIt, tellsOfAttentionAndOfTheEnd, looksWhenAsked,
                            isSilentOnceEnded);

}  // namespace tallyfox::contract
