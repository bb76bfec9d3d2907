#pragma once

/// What every source of accessibility events keeps to: it tells what was asked for, of the application that was asked
/// about, as tasks of the main queue, and falls silent with the registration.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, AccessibilityObserversContract, TheBackend), where
/// TheBackend is default-constructible and has
///   AccessibilityObservers& observers();
///   SerialQueue& mainQueue();
///   void onMain(const std::function<void()>& work);   runs it as a task of the main queue; returns when it is done
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   std::int32_t launch();               starts an application with one window that has the focus; returns its process
///                                        once that is so and all that comes of it was told
///   void activate(std::int32_t pid);     gives its window the focus
///   void openWindow(std::int32_t pid);   a second one, which takes the focus
///   void openSheet(std::int32_t pid);    on its first window
///   void rename(std::int32_t pid, const std::string& title);   its first window, as the next four
///   void minimize(std::int32_t pid);
///   void restore(std::int32_t pid);
///   void close(std::int32_t pid);
///   void quit(std::int32_t pid);         ends it and waits until it is gone
///   void setTrusted(bool isTrusted);     gives or takes the permission
/// and, where systems differ,
///   std::string sheetNotification();     by which a sheet is told: "AXSheetCreated", or "AXWindowCreated" where a
///   sheet
///                                        is a window
///   bool observesWithoutPermission();    where events do not come from accessibility

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Queue.hpp"
#include "contract/Recorder.hpp"
#include "platform/AccessibilityObservers.hpp"

namespace tallyfox::contract {

template <typename Backend>
class AccessibilityObserversContract : public testing::Test {
 protected:
  using Names = std::vector<std::string>;
  static inline const Names everything = {"AXWindowCreated",        "AXSheetCreated",         "AXMainWindowChanged",
                                          "AXFocusedWindowChanged", "AXApplicationActivated", "AXTitleChanged",
                                          "AXWindowMiniaturized",   "AXWindowDeminiaturized", "AXUIElementDestroyed"};

  ~AccessibilityObserversContract() override {
    backend.onMain([this] { registrations.clear(); });
  }

  /// On the main thread only.
  std::expected<std::unique_ptr<Subscription>, AXError> registered(std::int32_t pid, const Names& names,
                                                                   const Recorder<std::string>& heard) {
    return backend.observers().observe(pid, names, [this, heard](const std::string& name) {
      EXPECT_TRUE(backend.mainQueue().isCurrent());
      heard.add(name);
    });
  }
  void observe(std::int32_t pid, const Names& names, const Recorder<std::string>& heard) {
    backend.onMain([&] {
      auto registration = registered(pid, names, heard);
      ASSERT_TRUE(registration.has_value());
      registrations.push_back(std::move(*registration));
    });
  }
  bool hears(const Recorder<std::string>& heard, const std::string& name, std::size_t count = 1) {
    return backend.waitUntil([&] { return heard.count(name) >= count; });
  }

  Backend backend;
  std::vector<std::unique_ptr<Subscription>> registrations;
  Recorder<std::string> told;
};

TYPED_TEST_SUITE_P(AccessibilityObserversContract);

TYPED_TEST_P(AccessibilityObserversContract, tellsANewWindowAndThatItHasTheFocus) {
  const std::int32_t pid = this->backend.launch();
  this->observe(pid, this->everything, this->told);
  this->backend.openWindow(pid);
  EXPECT_TRUE(this->hears(this->told, "AXMainWindowChanged"));
  EXPECT_TRUE(this->hears(this->told, "AXFocusedWindowChanged"));
  EXPECT_EQ(this->told.count("AXWindowCreated"), 1U);
  EXPECT_EQ(this->told.all().front(), "AXWindowCreated");
}

TYPED_TEST_P(AccessibilityObserversContract, tellsASheet) {
  const std::int32_t pid = this->backend.launch();
  this->observe(pid, this->everything, this->told);
  this->backend.openSheet(pid);
  EXPECT_TRUE(this->hears(this->told, this->backend.sheetNotification()));
}

TYPED_TEST_P(AccessibilityObserversContract, tellsANewTitle) {
  const std::int32_t pid = this->backend.launch();
  this->observe(pid, this->everything, this->told);
  this->backend.rename(pid, "Renamed");
  EXPECT_TRUE(this->hears(this->told, "AXTitleChanged"));
}

TYPED_TEST_P(AccessibilityObserversContract, tellsAWindowMinimizedAndRestored) {
  const std::int32_t pid = this->backend.launch();
  this->observe(pid, this->everything, this->told);
  this->backend.minimize(pid);
  EXPECT_TRUE(this->hears(this->told, "AXWindowMiniaturized"));
  EXPECT_EQ(this->told.count("AXWindowDeminiaturized"), 0U);
  this->backend.restore(pid);
  EXPECT_TRUE(this->hears(this->told, "AXWindowDeminiaturized"));
}

TYPED_TEST_P(AccessibilityObserversContract, tellsAWindowThatIsGone) {
  const std::int32_t pid = this->backend.launch();
  this->observe(pid, this->everything, this->told);
  this->backend.close(pid);
  EXPECT_TRUE(this->hears(this->told, "AXUIElementDestroyed"));
}

TYPED_TEST_P(AccessibilityObserversContract, tellsThatTheApplicationIsActive) {
  const std::int32_t pid = this->backend.launch();
  const std::int32_t other = this->backend.launch();
  ASSERT_NE(pid, other);
  this->observe(pid, this->everything, this->told);
  this->backend.activate(pid);
  EXPECT_TRUE(this->hears(this->told, "AXApplicationActivated"));
}

TYPED_TEST_P(AccessibilityObserversContract, tellsOnlyWhatWasAskedFor) {
  const std::int32_t pid = this->backend.launch();
  this->observe(pid, {"AXTitleChanged"}, this->told);
  this->backend.openWindow(pid);
  this->backend.minimize(pid);
  this->backend.restore(pid);
  this->backend.rename(pid, "Renamed");
  EXPECT_TRUE(this->hears(this->told, "AXTitleChanged"));
  EXPECT_THAT(this->told.all(), testing::Each("AXTitleChanged"));
}

TYPED_TEST_P(AccessibilityObserversContract, tellsNothingOfOtherApplications) {
  const std::int32_t pid = this->backend.launch();
  const std::int32_t other = this->backend.launch();
  const Recorder<std::string> ofOther;
  this->observe(pid, {"AXTitleChanged"}, this->told);
  this->observe(other, {"AXTitleChanged"}, ofOther);
  this->backend.rename(other, "Renamed");
  EXPECT_TRUE(this->hears(ofOther, "AXTitleChanged"));
  EXPECT_EQ(this->told.size(), 0U);
}

TYPED_TEST_P(AccessibilityObserversContract, neverTellsInsideACall) {
  const std::int32_t pid = this->backend.launch();
  this->backend.onMain([&] {
    auto registration = this->registered(pid, this->everything, this->told);
    ASSERT_TRUE(registration.has_value());
    this->registrations.push_back(std::move(*registration));
    this->backend.rename(pid, "Renamed");
    auto another = this->registered(pid, this->everything, this->told);
    EXPECT_EQ(this->told.size(), 0U) << "before this task of the main queue has ended";
  });
  EXPECT_TRUE(this->hears(this->told, "AXTitleChanged"));
}

TYPED_TEST_P(AccessibilityObserversContract, isSilentOnceTheRegistrationIsGone) {
  const std::int32_t pid = this->backend.launch();
  const Recorder<std::string> witness;
  this->observe(pid, {"AXTitleChanged"}, this->told);
  this->observe(pid, {"AXTitleChanged"}, witness);
  this->backend.onMain([&] {
    this->backend.rename(pid, "Renamed");
    this->registrations.front().reset();
  });
  EXPECT_TRUE(this->hears(witness, "AXTitleChanged"));
  EXPECT_EQ(this->told.size(), 0U);
}

TYPED_TEST_P(AccessibilityObserversContract, letsACallbackEndItsOwnRegistration) {
  const std::int32_t pid = this->backend.launch();
  const Recorder<std::string> witness;
  this->backend.onMain([&] {
    auto registration = this->backend.observers().observe(pid, {"AXTitleChanged"}, [this](const std::string& name) {
      this->told.add(name);
      this->registrations.front().reset();
    });
    ASSERT_TRUE(registration.has_value());
    this->registrations.push_back(std::move(*registration));
  });
  this->observe(pid, {"AXTitleChanged"}, witness);
  this->backend.rename(pid, "Renamed");
  EXPECT_TRUE(this->hears(witness, "AXTitleChanged"));
  this->backend.rename(pid, "Renamed again");
  EXPECT_TRUE(this->hears(witness, "AXTitleChanged", 2));
  EXPECT_EQ(this->told.size(), 1U);
}

TYPED_TEST_P(AccessibilityObserversContract, refusesAProcessThatIsGone) {
  const std::int32_t pid = this->backend.launch();
  this->backend.quit(pid);
  this->backend.onMain([&] {
    const auto registration = this->registered(pid, this->everything, this->told);
    ASSERT_FALSE(registration.has_value());
    EXPECT_EQ(registration.error(), AXError::invalidElement);
  });
}

TYPED_TEST_P(AccessibilityObserversContract, keepsARegistrationBeyondTheEndOfItsApplication) {
  const std::int32_t pid = this->backend.launch();
  const std::int32_t other = this->backend.launch();
  const Recorder<std::string> ofOther;
  this->observe(pid, {"AXTitleChanged"}, this->told);
  this->observe(other, {"AXTitleChanged"}, ofOther);
  this->backend.quit(pid);
  this->backend.rename(other, "Renamed");
  EXPECT_TRUE(this->hears(ofOther, "AXTitleChanged"));
  this->backend.onMain([this] { this->registrations.front().reset(); });
  this->backend.rename(other, "Renamed again");
  EXPECT_TRUE(this->hears(ofOther, "AXTitleChanged", 2));
  EXPECT_EQ(this->told.size(), 0U);
}

TYPED_TEST_P(AccessibilityObserversContract, needsThePermissionAtMostWhereEventsComeFromAccessibility) {
  const std::int32_t pid = this->backend.launch();
  this->backend.setTrusted(false);
  this->backend.onMain([&] {
    const auto registration = this->registered(pid, this->everything, this->told);
    EXPECT_EQ(registration.has_value(), this->backend.observesWithoutPermission());
    EXPECT_TRUE(registration || registration.error() == AXError::notTrusted);
  });
}

TYPED_TEST_P(AccessibilityObserversContract, tellsThatThePermissionMayHaveChangedEitherWay) {
  const Recorder<bool> onMainQueue;
  this->backend.onMain([&] {
    this->registrations.push_back(this->backend.observers().observeTrustChanges(
        [this, onMainQueue] { onMainQueue.add(this->backend.mainQueue().isCurrent()); }));
  });
  this->backend.setTrusted(false);
  EXPECT_TRUE(this->backend.waitUntil([&] { return onMainQueue.size() > 0; }));
  const std::size_t before = onMainQueue.size();
  this->backend.setTrusted(true);
  EXPECT_TRUE(this->backend.waitUntil([&] { return onMainQueue.size() > before; }));
  EXPECT_EQ(onMainQueue.count(false), 0U);
}

TYPED_TEST_P(AccessibilityObserversContract, isSilentAboutThePermissionOnceTheRegistrationIsGone) {
  const Recorder<std::string> witness;
  this->backend.onMain([&] {
    const auto add = [&](const Recorder<std::string>& to) {
      this->registrations.push_back(this->backend.observers().observeTrustChanges([to] { to.add("permission"); }));
    };
    add(this->told);
    add(witness);
    this->backend.setTrusted(false);
    this->registrations.front().reset();
  });
  EXPECT_TRUE(this->hears(witness, "permission"));
  EXPECT_EQ(this->told.size(), 0U);
}

REGISTER_TYPED_TEST_SUITE_P(AccessibilityObserversContract, tellsANewWindowAndThatItHasTheFocus, tellsASheet,
                            tellsANewTitle, tellsAWindowMinimizedAndRestored, tellsAWindowThatIsGone,
                            tellsThatTheApplicationIsActive, tellsOnlyWhatWasAskedFor, tellsNothingOfOtherApplications,
                            neverTellsInsideACall, isSilentOnceTheRegistrationIsGone,
                            letsACallbackEndItsOwnRegistration, refusesAProcessThatIsGone,
                            keepsARegistrationBeyondTheEndOfItsApplication,
                            needsThePermissionAtMostWhereEventsComeFromAccessibility,
                            tellsThatThePermissionMayHaveChangedEitherWay,
                            isSilentAboutThePermissionOnceTheRegistrationIsGone);

}  // namespace tallyfox::contract
