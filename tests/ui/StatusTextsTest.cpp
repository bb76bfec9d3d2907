// The status window's texts: every rule in its order, each shown to win over all later ones in every combination, and
// what counts as set up and as having a phone.

#include "ui/StatusTexts.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ui/FirstMatch.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

const RelayPhoneStatus workPhone{.deviceID = "1", .deviceName = "Work Phone", .platform = "ios", .connected = true};

std::string overallText(const MacStatusSnapshot& snapshot) {
  return overallStatus(snapshot).text;
}

TEST(OverallStatus, namesWhatIsMissingFirst) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Needs Setup"},
                        {distrust, "Needs Setup"},
                        {disableLoginItem, "Needs Setup"},
                        {disconnectRelay, "Connecting"},
                        {forgetPhones, "iPhone Pairing Pending"}},
                       "All OK", overallText);
}

TEST(OverallStatus, warnsUnlessAllIsWell) {
  EXPECT_EQ(overallStatus(readySnapshot()).role, PillRole::success);
  for (const auto spoil : {moveOut, distrust, disableLoginItem, disconnectRelay, forgetPhones}) {
    MacStatusSnapshot snapshot = readySnapshot();
    spoil(snapshot);
    EXPECT_EQ(overallStatus(snapshot).role, PillRole::warning) << overallText(snapshot);
  }
}

TEST(OverallStatus, doesNotAskWhetherTheRelayIsConfigured) {
  MacStatusSnapshot snapshot = readySnapshot();
  unconfigureRelay(snapshot);
  EXPECT_EQ(overallStatus(snapshot), (StatusPill{"All OK", PillRole::success}));
}

TEST(HeaderTitle, namesTheNextStep) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Move to Applications"},
                        {distrust, "Finish setup"},
                        {disableLoginItem, "Finish setup"},
                        {disconnectRelay, "Connecting"},
                        {forgetPhones, "Pair iPhone"}},
                       "All OK", headerTitle);
}

TEST(HeaderSubtitle, explainsTheNextStep) {
  const std::string permissions = "Allow the required Mac permissions so tallies can be detected and delivered.";
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Run Tallyfox from Applications before enabling Mac permissions."},
                        {distrust, permissions},
                        {disableLoginItem, permissions},
                        {disconnectRelay, "Mac setup is ready. Reconnecting to check your saved iPhone pairing."},
                        {forgetPhones, "Mac setup is ready. Pair an iPhone to receive approval alerts."}},
                       "Tallyfox is watching quietly and will notify your iPhone when this Mac needs attention.",
                       headerSubtitle);
}

TEST(PhoneCardTitle, namesWhatKeepsThePhoneAway) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Move to Applications"},
                        {distrust, "Accessibility required"},
                        {unconfigureRelay, "Pairing is not configured"},
                        {disconnectRelay, "Connecting"},
                        {forgetPhones, "Ready to scan"}},
                       "iPhone paired", phoneCardTitle);
}

TEST(PhoneCardTitle, doesNotAskForTheLoginItem) {
  MacStatusSnapshot snapshot = readySnapshot();
  disableLoginItem(snapshot);
  EXPECT_EQ(phoneCardTitle(snapshot), "iPhone paired");
}

/// What phoneStatusDetail says last, of the phone itself.
std::vector<TextRule> phoneRules() {
  return {{[](MacStatusSnapshot& snapshot) { snapshot.connectedPhones.push_back(workPhone); },
           "Work Phone can receive approval alerts from this Mac."},
          {[](MacStatusSnapshot& snapshot) {
             snapshot.phoneConnected = false;
             snapshot.phoneCount = 0;
           },
           "Open the iPhone app and scan this code."}};
}
const std::string somePhone = "A paired iPhone can receive approval alerts from this Mac.";

TEST(PhoneStatusDetail, followsItsOrderWhileAccessibilityIsTrusted) {
  const auto phones = phoneRules();
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Move Tallyfox to Applications before pairing your iPhone."},
                        {unconfigureRelay, "Pairing settings are missing, so no QR code can be shown."},
                        {[](MacStatusSnapshot& snapshot) { snapshot.pairingImage.reset(); }, "Scan me."},
                        {disconnectRelay, "Tallyfox is connecting in the background."},
                        phones[0],
                        phones[1]},
                       somePhone, phoneStatusDetail);
}

TEST(PhoneStatusDetail, followsItsOrderWithoutAnImageForWantOfAccessibility) {
  MacStatusSnapshot withoutImage = readySnapshot();
  withoutImage.pairingImage.reset();
  const auto phones = phoneRules();
  // Trusted and without an image it would be the caption that speaks; here it never does.
  expectFirstMatchWins(
      withoutImage,
      {{[](MacStatusSnapshot& snapshot) {
          distrust(snapshot);
          moveOut(snapshot);
        },
        "Move Tallyfox to Applications before pairing your iPhone."},
       {[](MacStatusSnapshot& snapshot) {
          distrust(snapshot);
          unconfigureRelay(snapshot);
        },
        "Pairing settings are missing, so no QR code can be shown."},
       {[](MacStatusSnapshot& snapshot) {
          distrust(snapshot);
          disconnectRelay(snapshot);
        },
        "Tallyfox is connecting in the background."},
       {distrust, "Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs."},
       {phones[0].bringAbout, "Scan me."},
       {phones[1].bringAbout, "Scan me."}},
      "Scan me.", phoneStatusDetail);
}

TEST(PhoneStatusDetail, namesTheFirstOfSeveralPhones) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.connectedPhones = {workPhone, {.deviceID = "2", .deviceName = "Home", .platform = {}, .connected = {}}};
  EXPECT_EQ(phoneStatusDetail(snapshot), "Work Phone can receive approval alerts from this Mac.");
}

TEST(InstallLocationRow, tellsWhereTheAppRuns) {
  MacStatusSnapshot snapshot = readySnapshot();
  EXPECT_EQ(installLocationRow(snapshot), (StatusRow{{"Installed", PillRole::success}, "Running from Applications."}));
  moveOut(snapshot);
  EXPECT_EQ(installLocationRow(snapshot), (StatusRow{{"Move", PillRole::warning}, "Move app, then reopen."}));
}

TEST(AccessibilityRow, waitsForTheMoveThenTellsTheTrust) {
  expectFirstMatchWins(
      readySnapshot(),
      {{moveOut, "Waiting|Move app first."}, {distrust, "Required|Allow Accessibility to detect dialogs."}},
      "Allowed|Can detect dialogs and press approved buttons.", [](const MacStatusSnapshot& snapshot) {
        const StatusRow row = accessibilityRow(snapshot);
        EXPECT_EQ(row.pill.role == PillRole::success, row.pill.text == "Allowed");
        return row.pill.text + "|" + row.detail;
      });
}

TEST(LoginItemRow, tellsEveryStatus) {
  const std::vector<std::pair<LoginItemStatus, StatusRow>> rows = {
      {login_item::Enabled{}, {{"Enabled", PillRole::success}, "Opens automatically when you sign in."}},
      {login_item::Disabled{}, {{"Off", PillRole::warning}, "Enable after-reboot startup."}},
      {login_item::RequiresApproval{}, {{"Needs Approval", PillRole::warning}, "Approve Tallyfox in Login Items."}},
      {login_item::Unavailable{"It is so.\n"}, {{"Unavailable", PillRole::warning}, "It is so.\n"}}};
  for (const auto& [status, row] : rows) {
    MacStatusSnapshot snapshot = readySnapshot();
    snapshot.loginItemStatus = status;
    EXPECT_EQ(loginItemRow(snapshot), row) << row.pill.text;
  }
}

class PauseCard : public testing::Test {
 protected:
  static void pauseForTwoHours(MacStatusSnapshot& snapshot) { snapshot.notificationPause.pausedUntil = now() + 2h; }
  static Date now() { return parsedISO8601("2026-03-14T13:10:00Z").value(); }
  static std::string title(const MacStatusSnapshot& snapshot) { return pauseCardTitle(snapshot, now(), "Etc/UTC"); }
  static std::string detail(const MacStatusSnapshot& snapshot) { return pauseCardDetail(snapshot, now()); }
};

TEST_F(PauseCard, titlesThePauseOnlyWhereAlertsCouldArrive) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Not Available"},
                        {unconfigureRelay, "Not Available"},
                        {disconnectRelay, "Inactive"},
                        {distrust, "Inactive"},
                        {forgetPhones, "Inactive"},
                        {pauseForever, "Paused"},
                        {pauseForTwoHours, "Paused until 3:10 PM"}},
                       "Active", title);
}

TEST_F(PauseCard, explainsThePauseOnlyWhereAlertsCouldArrive) {
  expectFirstMatchWins(readySnapshot(),
                       {{moveOut, "Move to Applications first."},
                        {unconfigureRelay, "Pair an iPhone before pausing alerts."},
                        {disconnectRelay, "Connecting to relay."},
                        {distrust, "Turn on Accessibility first."},
                        {forgetPhones, "Pair an iPhone to receive alerts."},
                        {pauseForever, "Paused until you resume."},
                        {pauseForTwoHours, "Alerts will resume automatically."}},
                       "Pause while handling prompts locally.", detail);
}

TEST_F(PauseCard, namesThePauseItselfWhereverAlertsCouldArrive) {
  MacStatusSnapshot snapshot = readySnapshot();
  disconnectRelay(snapshot);
  const auto pause = [&] { return pauseTitle(snapshot.notificationPause, now(), "Etc/UTC"); };
  EXPECT_EQ(pause(), "Active");
  pauseForTwoHours(snapshot);
  EXPECT_EQ(pause(), "Paused until 3:10 PM");
  pauseForever(snapshot);
  EXPECT_EQ(pause(), "Paused");
}

TEST_F(PauseCard, countsAPauseAsOverAtItsVeryEnd) {
  MacStatusSnapshot snapshot = readySnapshot();
  for (const auto& [end, isPaused] : {std::pair{now() - 1us, false}, {now(), false}, {now() + 1us, true}}) {
    snapshot.notificationPause.pausedUntil = end;
    EXPECT_EQ(title(snapshot), isPaused ? "Paused until 1:10 PM" : "Active");
    EXPECT_EQ(detail(snapshot),
              isPaused ? "Alerts will resume automatically." : "Pause while handling prompts locally.");
  }
}

TEST_F(PauseCard, tellsTheEndOnTheOwnersClock) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.notificationPause.pausedUntil = parsedISO8601("2026-03-15T08:00:00Z");
  EXPECT_EQ(pauseCardTitle(snapshot, now(), "Europe/Berlin"), "Paused until tomorrow at 9:00 AM");
}

TEST(UpdateRow, isVisibleOnlyForAnUpdate) {
  MacStatusSnapshot snapshot = readySnapshot();
  EXPECT_FALSE(isUpdateRowVisible(snapshot));
  snapshot.updateAvailability.displayVersion = "2.1";
  EXPECT_FALSE(isUpdateRowVisible(snapshot));
  snapshot.updateAvailability.isUpdateAvailable = true;
  EXPECT_TRUE(isUpdateRowVisible(snapshot));
}

TEST(PairingCaption, asksForAccessibilityThenForSettings) {
  const std::string accessibility =
      "Allow Accessibility in System Settings. The pairing code appears after Tallyfox can detect Mac prompts.";
  EXPECT_EQ(pairingCaption(false, false), accessibility);
  EXPECT_EQ(pairingCaption(false, true), accessibility);
  EXPECT_EQ(pairingCaption(true, false),
            "Pairing is not configured for this launch. Add pairing settings before packaging Tallyfox to show a QR "
            "code.");
  EXPECT_EQ(pairingCaption(true, true), "Open the iPhone app, choose Pair Mac, and scan this code.");
}

TEST(StatusTexts, letRunningOutsideApplicationsOverrideEverything) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.connectedPhones = {workPhone};
  moveOut(snapshot);
  EXPECT_EQ(headerTitle(snapshot), "Move to Applications");
  EXPECT_EQ(overallStatus(snapshot), (StatusPill{"Needs Setup", PillRole::warning}));
  EXPECT_EQ(phoneCardTitle(snapshot), "Move to Applications");
}

TEST(StatusTexts, wantALoginItemThatIsEnabledAndNothingLess) {
  const std::vector<LoginItemStatus> notEnabled = {login_item::RequiresApproval{}, login_item::Disabled{},
                                                   login_item::Unavailable{"It is so."}};
  for (const LoginItemStatus& status : notEnabled) {
    MacStatusSnapshot snapshot = readySnapshot();
    snapshot.loginItemStatus = status;
    EXPECT_EQ(overallStatus(snapshot), (StatusPill{"Needs Setup", PillRole::warning})) << status.index();
    EXPECT_EQ(headerTitle(snapshot), "Finish setup") << status.index();
  }
}

TEST(StatusTexts, countOnePhoneWithoutAListAsAPhone) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.phoneConnected = false;
  ASSERT_TRUE(snapshot.connectedPhones.empty());
  EXPECT_EQ(overallStatus(snapshot), (StatusPill{"All OK", PillRole::success}));
  EXPECT_EQ(phoneStatusDetail(snapshot), "A paired iPhone can receive approval alerts from this Mac.");
}

TEST(StatusTexts, takeEachSignOfAPhoneForOne) {
  for (const std::int64_t count : {std::int64_t{0}, std::int64_t{-1}}) {
    MacStatusSnapshot none = readySnapshot();
    forgetPhones(none);
    none.phoneCount = count;
    EXPECT_EQ(headerTitle(none), "Pair iPhone");
    MacStatusSnapshot connected = none;
    connected.phoneConnected = true;
    EXPECT_EQ(headerTitle(connected), "All OK");
    MacStatusSnapshot listed = none;
    listed.connectedPhones = {workPhone};
    EXPECT_EQ(headerTitle(listed), "All OK");
  }
}

TEST(StatusTexts, nameAConnectedPhone) {
  MacStatusSnapshot snapshot = readySnapshot();
  snapshot.connectedPhones = {workPhone};
  EXPECT_EQ(phoneStatusDetail(snapshot), "Work Phone can receive approval alerts from this Mac.");
}

TEST(StatusTexts, askForAccessibilityInPlaceOfThePairingCode) {
  MacStatusSnapshot snapshot = readySnapshot();
  distrust(snapshot);
  snapshot.pairingImage.reset();
  snapshot.pairingCaption = pairingCaption(snapshot.accessibilityTrusted, true);
  EXPECT_EQ(snapshot.pairingCaption,
            "Allow Accessibility in System Settings. The pairing code appears after Tallyfox can detect Mac prompts.");
  EXPECT_EQ(phoneCardTitle(snapshot), "Accessibility required");
  EXPECT_EQ(phoneStatusDetail(snapshot),
            "Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs.");
}

TEST(MacStatusSnapshot, isTheSameMemberByMember) {
  const std::vector<void (*)(MacStatusSnapshot&)> changes = {
      moveOut,
      distrust,
      disableLoginItem,
      unconfigureRelay,
      disconnectRelay,
      pauseForever,
      [](MacStatusSnapshot& snapshot) { snapshot.phoneConnected = false; },
      [](MacStatusSnapshot& snapshot) { snapshot.phoneCount = 2; },
      [](MacStatusSnapshot& snapshot) { snapshot.connectedPhones = {workPhone}; },
      [](MacStatusSnapshot& snapshot) { snapshot.pendingApprovalCount = 1; },
      [](MacStatusSnapshot& snapshot) { snapshot.pairingImage->pixels = {255}; },
      [](MacStatusSnapshot& snapshot) { snapshot.pairingCaption = "Another."; },
      [](MacStatusSnapshot& snapshot) { snapshot.updateAvailability.displayVersion = "2.1"; }};
  EXPECT_EQ(readySnapshot(), readySnapshot());
  for (std::size_t i = 0; i < changes.size(); ++i) {
    MacStatusSnapshot changed = readySnapshot();
    changes[i](changed);
    EXPECT_NE(changed, readySnapshot()) << i;
  }
}

}  // namespace
}  // namespace tallyfox
