// The status window apart from any toolkit: refreshed every two seconds while it is shown, each button carried out
// once, and whatever its owner asked it to show forgotten once it is closed.

#include "ui/StatusWindowPresenter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/memory/VirtualTime.hpp"
#include "ui/StatusWindowStates.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace window_states;

/// A window that shows nothing and remembers what it was told.
class RecordingView : public StatusWindowView {
 public:
  void apply(const StatusWindowModel& model) override { models.push_back(model); }
  void ask(const ConfirmationModel& question, std::function<void()> onConfirmed) override {
    questions.push_back(question);
    confirm = std::move(onConfirmed);
  }
  void openPauseMenu(bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice) override {
    pauseMenus.push_back(isPaused);
    choose = std::move(onChoice);
  }

  std::vector<StatusWindowModel> models;
  std::vector<ConfirmationModel> questions;
  std::vector<bool> pauseMenus;
  std::function<void()> confirm;
  std::function<void(const PauseMenuChoice&)> choose;
};

class StatusWindowPresenterTest : public testing::Test {
 protected:
  [[nodiscard]] InterfaceActions recordingActions() {
    const auto record = [this](const char* name) { return [this, name] { calls.emplace_back(name); }; };
    return {.snapshot = [this] { return snapshotOf(state); },
            .context =
                [] {
                  return StatusWindowContext{.now = statesNow,
                                             .timeZoneIdentifier = "UTC",
                                             .pairingResetInProgress = false,
                                             .credentialError = std::nullopt,
                                             .isCodeRequested = false};
                },
            .onEnableLoginItem = record("enableLoginItem"),
            .onUnpairPhone = record("unpairPhone"),
            .onCheckForUpdates = record("checkForUpdates"),
            .onPauseNotifications =
                [this](NotificationPauseOption option) {
                  calls.push_back("pause " + std::to_string(static_cast<int>(option)));
                },
            .onResumeNotifications = record("resume"),
            .openAccessibilitySettings = record("openAccessibilitySettings"),
            .quit = record("quit")};
  }

  State state{
      .installed = true, .trusted = true, .configured = true, .connected = true, .phone = Phone::listed, .image = true};
  std::vector<std::string> calls;
  memory::VirtualTime time;
  std::shared_ptr<SerialQueue> queue = time.makeQueue("main");
  InterfaceActions actions = recordingActions();
  RecordingView view;
  std::optional<StatusWindowPresenter> presenter{
      std::in_place, StatusWindowPresenter::Dependencies{.actions = actions, .mainQueue = *queue, .view = view}};
};

TEST_F(StatusWindowPresenterTest, refreshesEveryTwoSecondsWhileOpen) {
  presenter->refresh();
  time.advance(Seconds(10));
  EXPECT_THAT(view.models, IsEmpty());
  presenter->open();
  EXPECT_EQ(view.models.size(), 1U);
  time.advance(Seconds(1.9));
  EXPECT_EQ(view.models.size(), 1U);
  time.advance(Seconds(0.2));
  EXPECT_EQ(view.models.size(), 2U);
  time.advance(Seconds(20));
  EXPECT_EQ(view.models.size(), 12U);
  presenter->close();
  presenter->refresh();
  time.advance(Seconds(20));
  EXPECT_EQ(view.models.size(), 12U);
}

TEST_F(StatusWindowPresenterTest, carriesOutAPlainActionOnceAndShowsWhatCameOfIt) {
  presenter->open();
  using enum StatusWindowAction;
  for (const StatusWindowAction action : {openAccessibilitySettings, enableLoginItem, checkForUpdates})
    presenter->perform(action);
  EXPECT_THAT(calls, ElementsAre("openAccessibilitySettings", "enableLoginItem", "checkForUpdates"));
  EXPECT_EQ(view.models.size(), 4U);
}

TEST_F(StatusWindowPresenterTest, showsARequestedCodeUntilItIsHiddenOrTheWindowCloses) {
  presenter->open();
  EXPECT_FALSE(view.models.back().pairing.code);
  presenter->perform(StatusWindowAction::togglePairingCode);
  EXPECT_TRUE(view.models.back().pairing.code);
  presenter->perform(StatusWindowAction::togglePairingCode);
  EXPECT_FALSE(view.models.back().pairing.code);
  presenter->perform(StatusWindowAction::togglePairingCode);
  presenter->close();
  presenter->open();
  EXPECT_FALSE(view.models.back().pairing.code);
}

TEST_F(StatusWindowPresenterTest, unpairsOnlyOnceTheQuestionIsConfirmed) {
  presenter->open();
  presenter->perform(StatusWindowAction::unpairPhone);
  EXPECT_THAT(view.questions, ElementsAre(unpairConfirmation()));
  EXPECT_THAT(calls, IsEmpty());
  view.confirm();
  EXPECT_THAT(calls, ElementsAre("unpairPhone"));
  EXPECT_EQ(view.models.size(), 2U);
}

TEST_F(StatusWindowPresenterTest, pausesForTwoHoursOrResumesByWhatIsTrueNow) {
  presenter->open();
  presenter->perform(StatusWindowAction::toggleNotificationPause);
  state.pause = Pause::forever;
  presenter->perform(StatusWindowAction::toggleNotificationPause);
  state.pause = Pause::over;
  presenter->perform(StatusWindowAction::toggleNotificationPause);
  EXPECT_THAT(calls, ElementsAre("pause 0", "resume", "pause 0"));
  EXPECT_EQ(view.models.size(), 4U);
}

TEST_F(StatusWindowPresenterTest, carriesOutWhatThePauseMenuChooses) {
  presenter->open();
  presenter->perform(StatusWindowAction::showNotificationPauseOptions);
  view.choose({.pause = NotificationPauseOption::untilTomorrow});
  state.pause = Pause::untilLater;
  presenter->perform(StatusWindowAction::showNotificationPauseOptions);
  view.choose({.pause = std::nullopt});
  EXPECT_THAT(view.pauseMenus, ElementsAre(false, true));
  EXPECT_THAT(calls, ElementsAre("pause 2", "resume"));
  EXPECT_EQ(view.models.size(), 3U);
}

TEST_F(StatusWindowPresenterTest, leavesAnAnswerWithoutEffectThatComesAfterItsEnd) {
  presenter->open();
  presenter->perform(StatusWindowAction::unpairPhone);
  presenter->perform(StatusWindowAction::showNotificationPauseOptions);
  presenter.reset();
  view.confirm();
  view.choose({.pause = NotificationPauseOption::fourHours});
  EXPECT_THAT(calls, IsEmpty());
}

}  // namespace
}  // namespace tallyfox
