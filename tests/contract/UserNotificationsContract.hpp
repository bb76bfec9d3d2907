#pragma once

/// What every service for local notifications keeps to: it shows what it is given, and every trouble of it shows in the
/// authorization alone.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, UserNotificationsContract, TheBackend), where TheBackend
/// is default-constructible and has
///   UserNotifications& notifications();
///   SerialQueue& mainQueue();
///   void onMain(const std::function<void()>& work);   runs it as a task of the main queue; returns when it is done
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   std::vector<std::pair<std::string, std::string>> shown();   titles and bodies, in the order shown
///   void removeService();   there is nobody to show anything
/// and, where systems differ,
///   bool decline();         has the owner decline; gives false where the owner is not asked

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <expected>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/Queue.hpp"
#include "contract/Recorder.hpp"
#include "platform/UserNotifications.hpp"

namespace tallyfox::contract {

template <typename Backend>
class UserNotificationsContract : public testing::Test {
 protected:
  using Shown = std::vector<std::pair<std::string, std::string>>;

  /// On the main thread only.
  void request() {
    backend.notifications().requestAuthorization([this](const std::expected<bool, std::string>& answer) {
      EXPECT_TRUE(backend.mainQueue().isCurrent());
      answers.add(answer ? (*answer ? "yes" : "no") : answer.error().empty() ? "unexplained" : "failed");
    });
  }
  std::vector<std::string> answersTo(int requests) {
    backend.onMain([&] {
      for (int number = 0; number < requests; ++number)
        request();
      EXPECT_EQ(answers.size(), 0U) << "inside the call";
    });
    EXPECT_TRUE(backend.waitUntil([&] { return answers.size() >= static_cast<std::size_t>(requests); }));
    return answers.all();
  }
  void add(const UserNotification& notification) {
    backend.onMain([&] { backend.notifications().add(notification); });
  }
  void expectShown(const Shown& expected) {
    EXPECT_TRUE(backend.waitUntil([&] { return backend.shown().size() >= expected.size(); }));
    EXPECT_EQ(backend.shown(), expected);
  }

  Backend backend;
  Recorder<std::string> answers;
};

TYPED_TEST_SUITE_P(UserNotificationsContract);

TYPED_TEST_P(UserNotificationsContract, isAuthorizedWhereTheServiceAgreesEachTimeItIsAskedOnce) {
  EXPECT_THAT(this->answersTo(1), testing::ElementsAre("yes"));
  this->answers = {};
  EXPECT_THAT(this->answersTo(2), testing::ElementsAre("yes", "yes"));
}

TYPED_TEST_P(UserNotificationsContract, isNotAuthorizedWhereTheOwnerDeclines) {
  const bool isAsked = this->backend.decline();
  EXPECT_THAT(this->answersTo(1), testing::ElementsAre(isAsked ? "no" : "yes"));
}

TYPED_TEST_P(UserNotificationsContract, saysWhyThereIsNoAuthorization) {
  this->backend.removeService();
  EXPECT_THAT(this->answersTo(1), testing::ElementsAre("failed"));
}

TYPED_TEST_P(UserNotificationsContract, showsTitlesAndBodiesAsTheyAreInOrder) {
  EXPECT_THAT(this->answersTo(1), testing::ElementsAre("yes"));
  this->add({"1", "Files: Empty Trash?", "Delete <all> & \"more\"\nGrüße 世界"});
  this->add({"2", "Second", ""});
  this->expectShown({{"Files: Empty Trash?", "Delete <all> & \"more\"\nGrüße 世界"}, {"Second", ""}});
}

TYPED_TEST_P(UserNotificationsContract, isSilentAboutANotificationThatCannotBeShown) {
  this->backend.removeService();
  this->add({"1", "Title", "Body"});
  EXPECT_THAT(this->answersTo(1), testing::ElementsAre("failed")) << "which came after it";
  EXPECT_THAT(this->backend.shown(), testing::IsEmpty());
}

REGISTER_TYPED_TEST_SUITE_P(UserNotificationsContract, isAuthorizedWhereTheServiceAgreesEachTimeItIsAskedOnce,
                            isNotAuthorizedWhereTheOwnerDeclines, saysWhyThereIsNoAuthorization,
                            showsTitlesAndBodiesAsTheyAreInOrder, isSilentAboutANotificationThatCannotBeShown);

}  // namespace tallyfox::contract
