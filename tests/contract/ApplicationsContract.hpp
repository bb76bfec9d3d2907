#pragma once

/// What every list of running applications keeps to: who is there, asking one to quit, and the workspace's events as
/// tasks of the main queue.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, ApplicationsContract, TheBackend), where TheBackend is
/// default-constructible and has
///   Applications& applications();
///   SerialQueue& mainQueue();
///   void onMain(const std::function<void()>& work);   runs it as a task of the main queue; returns when it is done
///   void onAnotherThread(const std::function<void()>& work);   returns when it is done
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   std::int32_t launch(ContractProgram program = {});   starts a program named "Contract" and returns its process; a
///                                          regular one once its window has the focus and all that comes of it was told
///   void activate(std::int32_t pid);       gives its window the focus
///   void hide(std::int32_t pid);
///   void unhide(std::int32_t pid);
///   void switchSpace();
///   void setHanging(std::int32_t pid, bool hangs);   whether it answers
///   void quit(std::int32_t pid);           ends it and waits until it is gone
///   bool isRunning(std::int32_t pid);

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Queue.hpp"
#include "contract/Recorder.hpp"
#include "platform/Applications.hpp"

namespace tallyfox::contract {

enum class ContractProgram {
  regular,            ///< with the identifier "org.example.contract"
  withoutIdentifier,  ///< else the same
  background,         ///< not in the task list
};

template <typename Backend>
class ApplicationsContract : public testing::Test {
 protected:
  ~ApplicationsContract() override {
    backend.onMain([this] { observations.clear(); });
  }

  Applications& applications() { return backend.applications(); }
  void observe(const Recorder<WorkspaceEvent>& heard) {
    backend.onMain([&] {
      observations.push_back(applications().observe([this, heard](const WorkspaceEvent& event) {
        EXPECT_TRUE(backend.mainQueue().isCurrent());
        heard.add(event);
      }));
    });
  }
  bool hears(const Recorder<WorkspaceEvent>& heard, WorkspaceEventKind kind, std::int32_t pid, std::size_t count = 1) {
    return backend.waitUntil([&] { return heard.count({kind, pid}) >= count; });
  }
  static std::vector<std::int32_t> processes(const std::vector<RunningApplication>& listed) {
    std::vector<std::int32_t> found;
    for (const RunningApplication& application : listed)
      found.push_back(application.processIdentifier);
    return found;
  }
  static RunningApplication regular(std::int32_t pid) {
    return {.processIdentifier = pid,
            .bundleIdentifier = "org.example.contract",
            .localizedName = "Contract",
            .isTerminated = false,
            .isRegular = true};
  }

  Backend backend;
  std::vector<std::unique_ptr<Subscription>> observations;
  Recorder<WorkspaceEvent> told;
};

TYPED_TEST_SUITE_P(ApplicationsContract);

TYPED_TEST_P(ApplicationsContract, describesARunningApplication) {
  const std::int32_t pid = this->backend.launch();
  EXPECT_THAT(this->applications().runningApplications(), testing::Contains(this->regular(pid)));
  EXPECT_EQ(this->applications().application(pid), this->regular(pid));
}

TYPED_TEST_P(ApplicationsContract, lacksTheIdentifierOfAProgramWithoutOne) {
  const std::int32_t pid = this->backend.launch(ContractProgram::withoutIdentifier);
  RunningApplication expected = this->regular(pid);
  expected.bundleIdentifier = std::nullopt;
  EXPECT_EQ(this->applications().application(pid), expected);
}

TYPED_TEST_P(ApplicationsContract, knowsABackgroundProgram) {
  const std::int32_t pid = this->backend.launch(ContractProgram::background);
  const auto application = this->applications().application(pid);
  ASSERT_TRUE(application);
  EXPECT_FALSE(application->isRegular);
}

TYPED_TEST_P(ApplicationsContract, listsEachProcessOnceInAStableOrder) {
  const std::set<std::int32_t> launched = {this->backend.launch(),
                                           this->backend.launch(ContractProgram::withoutIdentifier),
                                           this->backend.launch(ContractProgram::background)};
  const auto first = this->processes(this->applications().runningApplications());
  EXPECT_EQ(this->processes(this->applications().runningApplications()), first);
  const std::set<std::int32_t> listed(first.begin(), first.end());
  EXPECT_EQ(listed.size(), first.size());
  EXPECT_TRUE(std::ranges::includes(listed, launched));
}

TYPED_TEST_P(ApplicationsContract, hasNoApplicationForOtherProcesses) {
  for (const std::int32_t pid : {-1, 0, 1})
    EXPECT_EQ(this->applications().application(pid), std::nullopt) << pid;
}

TYPED_TEST_P(ApplicationsContract, findsApplicationsByExactlyTheirIdentifier) {
  const std::int32_t one = this->backend.launch();
  const std::int32_t other = this->backend.launch();
  (void)this->backend.launch(ContractProgram::withoutIdentifier);
  EXPECT_THAT(this->applications().applicationsWithBundleIdentifier("org.example.contract"),
              testing::UnorderedElementsAre(this->regular(one), this->regular(other)));
  for (const char* identifier : {"org.example.Contract", "org.example", "org.example.contract.more", ""})
    EXPECT_THAT(this->applications().applicationsWithBundleIdentifier(identifier), testing::IsEmpty()) << identifier;
}

TYPED_TEST_P(ApplicationsContract, answersAnyThread) {
  const std::int32_t pid = this->backend.launch();
  const std::int32_t own = this->applications().ownProcessIdentifier();
  this->backend.onAnotherThread([&] {
    EXPECT_EQ(this->applications().application(pid), this->regular(pid));
    EXPECT_THAT(this->applications().runningApplications(), testing::Contains(this->regular(pid)));
    EXPECT_THAT(this->applications().applicationsWithBundleIdentifier("org.example.contract"),
                testing::ElementsAre(this->regular(pid)));
    EXPECT_EQ(this->applications().ownProcessIdentifier(), own);
  });
}

TYPED_TEST_P(ApplicationsContract, forgetsOrCountsAsTerminatedAnApplicationThatHasEnded) {
  const std::int32_t pid = this->backend.launch();
  this->backend.quit(pid);
  EXPECT_TRUE(this->backend.waitUntil([&] {
    const auto application = this->applications().application(pid);
    return !application || application->isTerminated;
  }));
  EXPECT_TRUE(this->backend.waitUntil(
      [&] { return this->applications().applicationsWithBundleIdentifier("org.example.contract").empty(); }));
}

TYPED_TEST_P(ApplicationsContract, asksAnApplicationToQuit) {
  const std::int32_t pid = this->backend.launch();
  const std::int32_t other = this->backend.launch();
  this->observe(this->told);
  this->applications().terminate(pid);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::terminated, pid));
  EXPECT_FALSE(this->backend.isRunning(pid));
  EXPECT_TRUE(this->backend.isRunning(other));
}

TYPED_TEST_P(ApplicationsContract, asksPolitelySoThatAHangingApplicationGoesOn) {
  const std::int32_t hanging = this->backend.launch();
  const std::int32_t other = this->backend.launch();
  this->observe(this->told);
  this->backend.setHanging(hanging, true);
  this->applications().terminate(hanging);
  this->applications().terminate(other);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::terminated, other));
  EXPECT_TRUE(this->backend.isRunning(hanging));
  EXPECT_EQ(this->told.count({WorkspaceEventKind::terminated, hanging}), 0U);
}

TYPED_TEST_P(ApplicationsContract, neverAsksItselfNorWhatIsNoProcess) {
  const std::int32_t own = this->applications().ownProcessIdentifier();
  const std::int32_t pid = this->backend.launch();
  this->observe(this->told);
  for (const std::int32_t refused : {own, 0, -1, -pid})
    this->applications().terminate(refused);
  this->applications().terminate(pid);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::terminated, pid));
  EXPECT_EQ(this->told.count({WorkspaceEventKind::terminated, own}), 0U);
  EXPECT_TRUE(this->backend.isRunning(own));
}

TYPED_TEST_P(ApplicationsContract, knowsItsOwnProcess) {
  const std::int32_t pid = this->backend.launch();
  const std::int32_t own = this->applications().ownProcessIdentifier();
  EXPECT_GT(own, 0);
  EXPECT_NE(own, pid);
  EXPECT_EQ(this->applications().ownProcessIdentifier(), own);
  EXPECT_TRUE(this->backend.isRunning(own));
}

TYPED_TEST_P(ApplicationsContract, tellsOfALaunchThenTheActivationThenTheEndEachLaunchAndEndOnce) {
  this->observe(this->told);
  const std::int32_t pid = this->backend.launch();
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::activated, pid));
  this->backend.quit(pid);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::terminated, pid));
  std::vector<WorkspaceEvent> events = this->told.all();
  std::erase_if(events, [&](const WorkspaceEvent& event) {
    return event.processIdentifier != pid || event.kind == WorkspaceEventKind::activated;
  });
  EXPECT_EQ(events,
            (std::vector<WorkspaceEvent>{{WorkspaceEventKind::launched, pid}, {WorkspaceEventKind::terminated, pid}}));
  const auto all = this->told.all();
  EXPECT_LT(std::ranges::find(all, WorkspaceEvent{WorkspaceEventKind::launched, pid}),
            std::ranges::find(all, WorkspaceEvent{WorkspaceEventKind::activated, pid}));
}

TYPED_TEST_P(ApplicationsContract, tellsOfAnotherActivation) {
  const std::int32_t pid = this->backend.launch();
  (void)this->backend.launch();
  this->observe(this->told);
  this->backend.activate(pid);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::activated, pid));
}

TYPED_TEST_P(ApplicationsContract, tellsOfHidingAndComingBack) {
  const std::int32_t pid = this->backend.launch();
  this->observe(this->told);
  this->backend.hide(pid);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::hidden, pid));
  this->backend.unhide(pid);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::unhidden, pid));
}

TYPED_TEST_P(ApplicationsContract, tellsOfAnotherSpaceWithoutAProcess) {
  this->observe(this->told);
  this->backend.switchSpace();
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::activeSpaceChanged, 0));
}

TYPED_TEST_P(ApplicationsContract, tellsOnlyWhatHappensFromThenOn) {
  const std::int32_t before = this->backend.launch();
  this->observe(this->told);
  const std::int32_t after = this->backend.launch();
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::launched, after));
  EXPECT_EQ(this->told.count({WorkspaceEventKind::launched, before}), 0U);
  this->backend.quit(before);
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::terminated, before)) << "of those there before, too";
}

TYPED_TEST_P(ApplicationsContract, neverTellsInsideACall) {
  this->backend.onMain([this] {
    const auto add = [this](const WorkspaceEvent& event) { this->told.add(event); };
    this->observations.push_back(this->applications().observe(add));
    this->backend.switchSpace();
    const auto another = this->applications().observe(add);
    EXPECT_EQ(this->told.size(), 0U) << "before this task of the main queue has ended";
  });
  EXPECT_TRUE(this->hears(this->told, WorkspaceEventKind::activeSpaceChanged, 0));
}

TYPED_TEST_P(ApplicationsContract, isSilentOnceTheObservationIsGone) {
  const Recorder<WorkspaceEvent> witness;
  this->observe(this->told);
  this->observe(witness);
  this->backend.onMain([this] {
    this->backend.switchSpace();
    this->observations.front().reset();
  });
  EXPECT_TRUE(this->hears(witness, WorkspaceEventKind::activeSpaceChanged, 0));
  EXPECT_EQ(this->told.size(), 0U);
}

TYPED_TEST_P(ApplicationsContract, letsACallbackEndItsOwnObservation) {
  const Recorder<WorkspaceEvent> witness;
  this->backend.onMain([this] {
    this->observations.push_back(this->applications().observe([this](const WorkspaceEvent& event) {
      this->told.add(event);
      this->observations.front().reset();
    }));
  });
  this->observe(witness);
  const std::int32_t pid = this->backend.launch();
  this->backend.quit(pid);
  EXPECT_TRUE(this->hears(witness, WorkspaceEventKind::terminated, pid));
  EXPECT_EQ(this->told.all(), (std::vector<WorkspaceEvent>{{WorkspaceEventKind::launched, pid}}));
}

REGISTER_TYPED_TEST_SUITE_P(ApplicationsContract, describesARunningApplication, lacksTheIdentifierOfAProgramWithoutOne,
                            knowsABackgroundProgram, listsEachProcessOnceInAStableOrder,
                            hasNoApplicationForOtherProcesses, findsApplicationsByExactlyTheirIdentifier,
                            answersAnyThread, forgetsOrCountsAsTerminatedAnApplicationThatHasEnded,
                            asksAnApplicationToQuit, asksPolitelySoThatAHangingApplicationGoesOn,
                            neverAsksItselfNorWhatIsNoProcess, knowsItsOwnProcess,
                            tellsOfALaunchThenTheActivationThenTheEndEachLaunchAndEndOnce, tellsOfAnotherActivation,
                            tellsOfHidingAndComingBack, tellsOfAnotherSpaceWithoutAProcess,
                            tellsOnlyWhatHappensFromThenOn, neverTellsInsideACall, isSilentOnceTheObservationIsGone,
                            letsACallbackEndItsOwnObservation);

}  // namespace tallyfox::contract
