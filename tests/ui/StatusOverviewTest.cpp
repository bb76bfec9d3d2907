// The status on a terminal and for programs: the window's own words, what stays out of both, and nothing that a
// foreign name could do to the terminal.

#include "ui/StatusOverview.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ui/FirstMatch.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class StatusOverviewTest : public testing::Test {
 protected:
  [[nodiscard]] std::string text() const { return statusOverview(snapshot, now, "Etc/UTC"); }
  [[nodiscard]] std::string json() const { return jsonText(statusJson(snapshot)); }

  Date now = Date(std::chrono::sys_days{std::chrono::March / 14 / 2026}) + 13h + 10min;
  MacStatusSnapshot snapshot = readySnapshot();
};

TEST_F(StatusOverviewTest, saysWhatTheWindowSays) {
  snapshot.connectedPhones = {{"device-7", "Work Phone", "ios", true}};
  snapshot.pendingApprovalCount = 2;
  EXPECT_EQ(text(),
            "Tallyfox: All OK\n"
            "Tallyfox is watching quietly and will notify your iPhone when this Mac needs attention.\n"
            "\n"
            "iPhone Pairing  iPhone paired. Work Phone can receive approval alerts from this Mac.\n"
            "Location        Installed. Running from Applications.\n"
            "Accessibility   Allowed. Can detect dialogs and press approved buttons.\n"
            "Login Item      Enabled. Opens automatically when you sign in.\n"
            "Alerts          Active. Pause while handling prompts locally.\n"
            "Open Dialogs    2");
}

TEST_F(StatusOverviewTest, saysHowLongAlertsArePaused) {
  snapshot.notificationPause.pausedUntil = now + 2h;
  EXPECT_THAT(text(), HasSubstr("\nAlerts          Paused until 3:10 PM. Alerts will resume automatically.\nOpen"));
  EXPECT_THAT(statusOverview(snapshot, now, "Europe/Berlin"), HasSubstr("Paused until 4:10 PM."));
  pauseForever(snapshot);
  EXPECT_THAT(text(), HasSubstr("\nAlerts          Paused. Paused until you resume.\nOpen"));
}

TEST_F(StatusOverviewTest, saysOfAPauseAlsoWhileSomethingElseKeepsAlertsAway) {
  disconnectRelay(snapshot);
  EXPECT_THAT(text(), HasSubstr("\nAlerts          Inactive. Connecting to relay.\nOpen"));
  snapshot.notificationPause.pausedUntil = now + 2h;
  EXPECT_THAT(text(), HasSubstr("\nAlerts          Inactive. Connecting to relay.\n"
                                "                Paused until 3:10 PM.\nOpen"));
  pauseForever(snapshot);
  EXPECT_THAT(text(), HasSubstr("Connecting to relay.\n                Paused.\nOpen"));
}

TEST_F(StatusOverviewTest, saysWhichUpdateWaits) {
  EXPECT_THAT(text(), Not(HasSubstr("Update")));
  snapshot.updateAvailability = {.isUpdateAvailable = true, .displayVersion = "2.1"};
  EXPECT_THAT(text(), HasSubstr("\nUpdate Ready    Version 2.1.\n"));
}

TEST_F(StatusOverviewTest, letsNoNameMoveTheCursorOrForgeALine) {
  snapshot.connectedPhones = {{"1", "A\nOpen Dialogs    9\x1b[2J\xC2\x9B", std::nullopt, std::nullopt}};
  EXPECT_THAT(text(), HasSubstr("paired. A Open Dialogs    9 [2J  can receive"));
  snapshot.loginItemStatus = login_item::Unavailable{"Gone.\x1b[2J"};
  snapshot.updateAvailability = {.isUpdateAvailable = true, .displayVersion = "2\r1"};
  EXPECT_THAT(text(), HasSubstr("Login Item      Unavailable. Gone. [2J\n"));
  EXPECT_THAT(text(), HasSubstr("Version 2 1.\n"));
}

TEST_F(StatusOverviewTest, tellsProgramsTheStateItself) {
  snapshot.connectedPhones = {{"device-7", "Work Phone", "ios", true}, {"device-8", "Old", std::nullopt, std::nullopt}};
  snapshot.phoneCount = 2;
  snapshot.pendingApprovalCount = 3;
  snapshot.notificationPause.pausedUntil = now + 2h;
  snapshot.updateAvailability = {.isUpdateAvailable = true, .displayVersion = "2.1"};
  EXPECT_EQ(json(),
            R"({"overall":"All OK","installedInApplications":true,"accessibilityTrusted":true,"loginItem":"enabled",)"
            R"("relayConfigured":true,"relayConnected":true,"phoneConnected":true,"phoneCount":2,)"
            R"("phones":[{"deviceName":"Work Phone","platform":"ios","connected":true},{"deviceName":"Old"}],)"
            R"("alerts":{"paused":true,"pausedUntil":"2026-03-14T15:10:00Z"},"pendingApprovalCount":3,)"
            R"("hasPairingCode":true,"updateAvailable":true,"updateVersion":"2.1"})");
}

TEST_F(StatusOverviewTest, tellsProgramsEveryLoginItemAndAnEndlessPause) {
  EXPECT_THAT(json(), HasSubstr(R"("alerts":{"paused":false},)"));
  pauseForever(snapshot);
  EXPECT_THAT(json(), HasSubstr(R"("alerts":{"paused":true},)"));
  disableLoginItem(snapshot);
  EXPECT_THAT(json(), HasSubstr(R"("loginItem":"disabled")"));
  snapshot.loginItemStatus = login_item::RequiresApproval{};
  EXPECT_THAT(json(), HasSubstr(R"("loginItem":"requiresApproval")"));
  snapshot.loginItemStatus = login_item::Unavailable{"Gone."};
  EXPECT_THAT(json(), HasSubstr(R"("loginItem":"unavailable")"));
  snapshot.pairingImage.reset();
  EXPECT_THAT(json(), HasSubstr(R"("hasPairingCode":false)"));
}

}  // namespace
}  // namespace tallyfox
