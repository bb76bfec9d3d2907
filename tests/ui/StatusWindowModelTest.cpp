// The status window as a value: every text in its place with its colour, and every button with its moment, one state
// after another. StatusWindowStatesTest crosses all states with each other.

#include "ui/StatusWindowModel.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ui/FirstMatch.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

const Date now = parsedISO8601("2026-03-14T13:10:00Z").value();

StatusWindowContext context() {
  return {.now = now,
          .timeZoneIdentifier = "Etc/UTC",
          .pairingResetInProgress = false,
          .credentialError = std::nullopt,
          .isCodeRequested = false};
}

StatusWindowModel shown(const MacStatusSnapshot& snapshot) {
  return statusWindowModel(snapshot, context());
}

std::string roleName(PillRole role) {
  return role == PillRole::success ? "success" : "warning";
}

std::string pillText(const StatusPill& pill) {
  return pill.text + " (" + roleName(pill.role) + ")";
}

std::string buttonTitle(const std::optional<ButtonModel>& button) {
  return button ? button->title : "none";
}

MacStatusSnapshot without(const std::vector<void (*)(MacStatusSnapshot&)>& changes) {
  MacStatusSnapshot snapshot = readySnapshot();
  for (const auto change : changes)
    change(snapshot);
  return snapshot;
}

void pauseForTwoHours(MacStatusSnapshot& snapshot) {
  snapshot.notificationPause.pausedUntil = now + 2h;
}

TEST(StatusWindowHeader, saysWhatIsMissingFirst) {
  const auto header = [](const MacStatusSnapshot& snapshot) {
    const StatusWindowModel model = shown(snapshot);
    EXPECT_EQ(model.title, "Tallyfox");
    return pillText(model.pill) + "|" + model.headline + "|" + model.detail;
  };
  const std::string permissions =
      "Needs Setup (warning)|Finish setup|Allow the required Mac permissions so tallies can be detected and delivered.";
  expectFirstMatchWins(
      readySnapshot(),
      {{moveOut,
        "Needs Setup (warning)|Move to Applications|Run Tallyfox from Applications before enabling Mac permissions."},
       {distrust, permissions},
       {disableLoginItem, permissions},
       {disconnectRelay,
        "Connecting (warning)|Connecting|Mac setup is ready. Reconnecting to check your saved iPhone pairing."},
       {forgetPhones,
        "iPhone Pairing Pending (warning)|Pair iPhone|Mac setup is ready. Pair an iPhone to receive approval alerts."}},
      "All OK (success)|All OK|Tallyfox is watching quietly and will notify your iPhone when this Mac needs attention.",
      header);
}

TEST(PairingCard, titlesItselfByWhatKeepsThePhoneAway) {
  const auto status = [](const MacStatusSnapshot& snapshot) {
    const PairingCardModel card = shown(snapshot).pairing;
    EXPECT_EQ(card.title, "iPhone Pairing");
    const std::vector<std::string> roles = {"primary", "secondary", "positive", "warning"};
    return card.status + "|" + roles.at(static_cast<std::size_t>(card.statusRole));
  };
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Move to Applications|warning"},
                        {distrust, "Accessibility required|warning"},
                        {unconfigureRelay, "Pairing is not configured|warning"},
                        {disconnectRelay, "Connecting|secondary"},
                        {forgetPhones, "Ready to scan|primary"}},
                       "iPhone paired|positive", status);
}

TEST(PairingCard, explainsItselfByWhatKeepsThePhoneAway) {
  expectFirstMatchWins(
      readySnapshot(),
      {{moveOut, "Move Tallyfox to Applications before pairing your iPhone."},
       {unconfigureRelay, "Pairing settings are missing, so no QR code can be shown."},
       {disconnectRelay, "Tallyfox is connecting in the background."},
       {distrust, "Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs."},
       {forgetPhones, "Open the iPhone app and scan this code."}},
      "A paired iPhone can receive approval alerts from this Mac.",
      [](const MacStatusSnapshot& snapshot) { return shown(snapshot).pairing.detail; });
}

TEST(PairingCard, namesTheFirstPhone) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.connectedPhones = {{.deviceID = "1", .deviceName = "Work Phone", .platform = {}, .connected = {}},
                              {.deviceID = "2", .deviceName = "Home", .platform = {}, .connected = {}}};
  EXPECT_EQ(shown(snapshot).pairing.detail, "Work Phone can receive approval alerts from this Mac.");
}

TEST(PairingCard, showsTheCodeWithItsCaptionWhileAPhoneIsWanted) {
  const MacStatusSnapshot snapshot = without({forgetPhones});
  const PairingCardModel card = shown(snapshot).pairing;
  EXPECT_EQ(card.code, snapshot.pairingImage);
  EXPECT_EQ(card.caption, "Scan me.");
  EXPECT_EQ(card.codeToggle, std::nullopt);
  EXPECT_EQ(card.unpair, std::nullopt);
}

TEST(PairingCard, keepsTheCodeBackOnceThereIsAPhoneUntilItIsAskedFor) {
  const MacStatusSnapshot snapshot = readySnapshot();
  const PairingCardModel hidden = shown(snapshot).pairing;
  EXPECT_EQ(hidden.code, std::nullopt);
  EXPECT_EQ(hidden.caption, "");
  EXPECT_EQ(hidden.codeToggle, (ButtonModel{"Pair Another iPhone", StatusWindowAction::togglePairingCode}));

  StatusWindowContext requested = context();
  requested.isCodeRequested = true;
  const PairingCardModel card = statusWindowModel(snapshot, requested).pairing;
  EXPECT_EQ(card.code, snapshot.pairingImage);
  EXPECT_EQ(card.caption, "Scan me.");
  EXPECT_EQ(card.codeToggle, (ButtonModel{"Hide Code", StatusWindowAction::togglePairingCode}));
}

TEST(PairingCard, saysInPlaceOfTheCodeWhyThereIsNone) {
  MacStatusSnapshot distrusted = without({forgetPhones, distrust});
  distrusted.pairingImage.reset();
  distrusted.pairingCaption = pairingCaption(false, false);
  const PairingCardModel card = shown(distrusted).pairing;
  EXPECT_EQ(card.code, std::nullopt);
  EXPECT_EQ(card.caption, distrusted.pairingCaption);
  EXPECT_EQ(card.openSettings, (ButtonModel{"Open Settings", StatusWindowAction::openAccessibilitySettings}));

  MacStatusSnapshot unconfigured = without({forgetPhones, unconfigureRelay});
  unconfigured.pairingImage.reset();
  unconfigured.pairingCaption = pairingCaption(true, false);
  EXPECT_EQ(shown(unconfigured).pairing.caption, unconfigured.pairingCaption);
}

TEST(PairingCard, saysNothingTwice) {
  MacStatusSnapshot snapshot = without({forgetPhones});
  snapshot.pairingImage.reset();
  snapshot.pairingCaption = pairingCaption(true, false);
  const PairingCardModel card = shown(snapshot).pairing;
  EXPECT_EQ(card.detail, snapshot.pairingCaption);
  EXPECT_EQ(card.caption, "");
}

TEST(PairingCard, showsAProblemWithTheCredentialsInPlaceOfACodeThatLeadsNowhere) {
  StatusWindowContext locked = context();
  locked.credentialError = "Keychain is unavailable (-25308). Unlock the login keychain and reopen Tallyfox.";
  locked.isCodeRequested = true;
  for (const MacStatusSnapshot& snapshot : {readySnapshot(), without({forgetPhones})}) {
    const PairingCardModel card = statusWindowModel(snapshot, locked).pairing;
    EXPECT_EQ(card.problem, locked.credentialError);
    EXPECT_EQ(card.code, std::nullopt);
    EXPECT_EQ(card.codeToggle, std::nullopt);
    EXPECT_EQ(card.caption, "");
    EXPECT_EQ(card.detail.find("scan this code"), std::string::npos);
  }
  EXPECT_EQ(shown(readySnapshot()).pairing.problem, std::nullopt);
}

TEST(PairingCard, unpairsAKnownPhoneAndOnlyOnce) {
  EXPECT_EQ(shown(readySnapshot()).pairing.unpair, (ButtonModel{"Unpair iPhone", StatusWindowAction::unpairPhone}));
  StatusWindowContext resetting = context();
  resetting.pairingResetInProgress = true;
  for (const MacStatusSnapshot& snapshot : {readySnapshot(), without({forgetPhones})}) {
    const PairingCardModel card = statusWindowModel(snapshot, resetting).pairing;
    EXPECT_EQ(card.unpair, (ButtonModel{"Unpairing...", StatusWindowAction::unpairPhone, false}));
    // The code shown now would be void in a moment.
    EXPECT_EQ(card.code, std::nullopt);
    EXPECT_EQ(card.codeToggle, std::nullopt);
  }
}

TEST(StatusRows, haveTheirSymbolsAndTitles) {
  const StatusWindowModel model = shown(without({moveOut}));
  const auto name = [](const StatusRowModel& row) { return row.symbol + "|" + row.title; };
  ASSERT_TRUE(model.installLocation);
  EXPECT_EQ(name(*model.installLocation), "folder|Location");
  EXPECT_EQ(name(model.accessibility), "figure.wave.circle.fill|Accessibility");
  EXPECT_EQ(name(model.loginItem), "arrow.clockwise.circle|Login Item");
}

TEST(StatusRows, tellTheInstallLocationOnlyWhileItIsWrong) {
  EXPECT_EQ(shown(readySnapshot()).installLocation, std::nullopt);
  const std::optional<StatusRowModel> row = shown(without({moveOut})).installLocation;
  ASSERT_TRUE(row);
  EXPECT_EQ(row->pill, (StatusPill{"Move", PillRole::warning}));
  EXPECT_EQ(row->detail, "Move app, then reopen.");
  EXPECT_EQ(row->button, std::nullopt);
}

TEST(StatusRows, tellOfAccessibility) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Waiting (warning)|Move app first."},
                        {distrust, "Required (warning)|Allow Accessibility to detect dialogs."}},
                       "Allowed (success)|Can detect dialogs and press approved buttons.",
                       [](const MacStatusSnapshot& snapshot) {
                         const StatusRowModel row = shown(snapshot).accessibility;
                         return pillText(row.pill.value()) + "|" + row.detail;
                       });
}

TEST(StatusRows, tellOfTheLoginItemAndOfferWhatEnablesIt) {
  struct Case {
    LoginItemStatus status;
    std::string pill;
    std::string detail;
    std::string button;
  };
  const std::vector<Case> cases = {
      {login_item::Enabled{}, "Enabled (success)", "Opens automatically when you sign in.", "none"},
      {login_item::Disabled{}, "Off (warning)", "Enable after-reboot startup.", "Enable"},
      {login_item::RequiresApproval{}, "Needs Approval (warning)", "Approve Tallyfox in Login Items.",
       "Open Login Items"},
      {login_item::Unavailable{"It is so."}, "Unavailable (warning)", "It is so.", "none"}};
  for (const Case& expected : cases) {
    MacStatusSnapshot snapshot = readySnapshot();
    snapshot.loginItemStatus = expected.status;
    const StatusRowModel row = shown(snapshot).loginItem;
    EXPECT_EQ(pillText(row.pill.value()), expected.pill);
    EXPECT_EQ(row.detail, expected.detail);
    EXPECT_EQ(buttonTitle(row.button), expected.button);
    EXPECT_TRUE(!row.button || row.button->action == StatusWindowAction::enableLoginItem);
    // It would be tied to a place that the application is about to leave.
    moveOut(snapshot);
    EXPECT_EQ(shown(snapshot).loginItem.button, std::nullopt) << expected.pill;
  }
}

TEST(PauseRow, tellsOfThePauseOnlyWhereAlertsCouldArrive) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Not Available|Move to Applications first."},
                        {unconfigureRelay, "Not Available|Pair an iPhone before pausing alerts."},
                        {disconnectRelay, "Inactive|Connecting to relay."},
                        {distrust, "Inactive|Turn on Accessibility first."},
                        {forgetPhones, "Inactive|Pair an iPhone to receive alerts."},
                        {pauseForever, "Paused|Paused until you resume."},
                        {pauseForTwoHours, "Paused until 3:10 PM|Alerts will resume automatically."}},
                       "Active|Pause while handling prompts locally.", [](const MacStatusSnapshot& snapshot) {
                         const StatusRowModel row = shown(snapshot).notificationPause;
                         EXPECT_EQ(row.pill, std::nullopt);
                         return row.title + "|" + row.detail;
                       });
}

TEST(PauseRow, tellsTheEndOnTheOwnersClock) {
  StatusWindowContext berlin = context();
  berlin.timeZoneIdentifier = "Europe/Berlin";
  EXPECT_EQ(statusWindowModel(without({pauseForTwoHours}), berlin).notificationPause.title, "Paused until 4:10 PM");
}

TEST(PauseRow, offersToPauseWhereAlertsArriveAndToResumeWhereverTheyArePaused) {
  const auto buttons = [](const MacStatusSnapshot& snapshot) {
    const StatusRowModel row = shown(snapshot).notificationPause;
    return row.symbol + "|" + buttonTitle(row.button) + "|" + buttonTitle(row.secondaryButton);
  };
  EXPECT_EQ(buttons(readySnapshot()), "bell|Pause for 2 Hours|More Options");
  EXPECT_EQ(buttons(without({pauseForTwoHours})), "bell.slash|Resume|More Options");
  EXPECT_EQ(buttons(without({pauseForever})), "bell.slash|Resume|More Options");
  for (const auto spoil : {moveOut, distrust, unconfigureRelay, disconnectRelay, forgetPhones}) {
    EXPECT_EQ(buttons(without({spoil})), "bell|none|none");
    EXPECT_EQ(buttons(without({spoil, pauseForever})), "bell.slash|Resume|More Options");
    EXPECT_EQ(buttons(without({spoil, pauseForTwoHours})), "bell.slash|Resume|More Options");
  }
  const StatusRowModel row = shown(readySnapshot()).notificationPause;
  EXPECT_EQ(row.button->action, StatusWindowAction::toggleNotificationPause);
  EXPECT_EQ(row.secondaryButton->action, StatusWindowAction::showNotificationPauseOptions);
}

TEST(PauseRow, countsAPauseAsOverAtItsVeryEnd) {
  for (const auto& [end, isOver] : {std::pair{now - 1h, true}, {now, true}, {now + 1us, false}}) {
    MacStatusSnapshot snapshot = readySnapshot();
    snapshot.notificationPause.pausedUntil = end;
    const StatusRowModel row = shown(snapshot).notificationPause;
    EXPECT_EQ(row.title == "Active", isOver);
    EXPECT_EQ(row.symbol, isOver ? "bell" : "bell.slash");
    EXPECT_EQ(buttonTitle(row.button), isOver ? "Pause for 2 Hours" : "Resume");
  }
}

TEST(UpdateRow, isShownForAnUpdateAloneAndNamesItsVersionIfKnown) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.updateAvailability = {.isUpdateAvailable = false, .displayVersion = "2.1"};
  EXPECT_EQ(shown(snapshot).update, std::nullopt);
  snapshot.updateAvailability = {.isUpdateAvailable = true, .displayVersion = "2.1"};
  const std::optional<StatusRowModel> row = shown(snapshot).update;
  EXPECT_EQ(row, (StatusRowModel{.symbol = "arrow.down.circle",
                                 .title = "Update Available",
                                 .detail = "Tallyfox 2.1 is ready to install.",
                                 .pill = std::nullopt,
                                 .button = ButtonModel{"Install Update...", StatusWindowAction::checkForUpdates},
                                 .secondaryButton = std::nullopt}));
  for (const std::optional<std::string>& unnamed : {std::optional<std::string>(), std::optional<std::string>("")}) {
    snapshot.updateAvailability.displayVersion = unnamed;
    EXPECT_EQ(shown(snapshot).update->detail, "A new version of Tallyfox is ready to install.");
  }
}

TEST(UnpairConfirmation, asksForWhatCannotBeTakenBack) {
  EXPECT_EQ(unpairConfirmation(),
            (ConfirmationModel{.title = "Unpair iPhone?",
                               .detail = "Paired iPhones stop receiving approvals from this Mac at once. To pair one "
                                         "again, scan the new pairing code.",
                               .confirmTitle = "Unpair",
                               .cancelTitle = "Cancel"}));
}

TEST(StatusWindowModel, isTheSameForTheSameStateSoThatARefreshTouchesNothing) {
  MacStatusSnapshot snapshot = without({pauseForTwoHours});
  EXPECT_EQ(shown(snapshot), shown(snapshot));
  StatusWindowContext later = context();
  later.now = now + 2s;
  EXPECT_EQ(statusWindowModel(snapshot, later), shown(snapshot));
  // Neither the number of open dialogs nor what is not shown makes a difference.
  MacStatusSnapshot busy = snapshot;
  busy.pendingApprovalCount = 7;
  EXPECT_EQ(shown(busy), shown(snapshot));
  disconnectRelay(busy);
  EXPECT_NE(shown(busy), shown(snapshot));
}

}  // namespace
}  // namespace tallyfox
