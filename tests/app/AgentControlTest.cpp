// What the owner asks of the running agent from outside: each command takes effect, every line gets an answer, and no
// answer tells a secret.

#include "app/AgentControl.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "app/AgentWorld.hpp"
#include "app/TestPhone.hpp"
#include "base/Limits.hpp"

namespace tallyfox {
namespace {

using testing::HasSubstr;
using testing::Not;

class AgentControlTest : public testing::Test {
 protected:
  [[nodiscard]] ControlAnswer answered(const std::string& line) {
    const std::string text = control.answer(line);
    EXPECT_THAT(text, Not(HasSubstr("\n")));
    EXPECT_LE(text.size(), limits::controlAnswerBytes);
    return ControlAnswer::decoded(parsedJson(text).value()).value();
  }
  [[nodiscard]] ControlAnswer asked(ControlCommand command,
                                    NotificationPauseOption length = NotificationPauseOption::twoHours) {
    return answered(jsonText(ControlRequest{command, length}.json()));
  }
  void connect() {
    world.network.answerAll(HttpResponse{204});
    agent.applicationDidFinishLaunching();
    world.time.runDue();
    world.network.open(0);
    world.time.runDue();
  }
  void reportPhone(const std::string& name) {
    const Json reported = {{"deviceID", "d"}, {"deviceName", name}};
    world.network.deliver(0, jsonText({{"type", "phone.status"},
                                       {"phoneConnected", true},
                                       {"phoneCount", 1},
                                       {"phones", Json::array({reported})}}));
    world.time.runDue();
  }
  [[nodiscard]] NotificationPauseSnapshot pause() { return agent.currentStatusSnapshot().notificationPause; }

  AgentWorld world;
  TestPhone phone{world};
  AppDelegate agent{world.platform(), world.interface};
  AgentControl control{{.agent = agent,
                        .mainQueue = *world.mainQueue,
                        .clock = world.time.clock(),
                        .environment = world.environment,
                        .version = "1.2.3"}};
};

TEST_F(AgentControlTest, tellsTheStatusToPeopleAndPrograms) {
  connect();
  reportPhone("Work Phone");
  const ControlAnswer answer = asked(ControlCommand::status);
  EXPECT_TRUE(answer.ok);
  EXPECT_THAT(answer.text, HasSubstr("iPhone paired. Work Phone can receive approval alerts from this Mac."));
  ASSERT_TRUE(answer.status.has_value());
  EXPECT_EQ((*answer.status)["relayConnected"], true);
  EXPECT_EQ((*answer.status)["hasPairingCode"], true);
  EXPECT_EQ((*answer.status)["agentVersion"], "1.2.3");
}

TEST_F(AgentControlTest, tellsNoSecret) {
  connect();
  reportPhone("Work Phone");
  const InstallationSecrets secrets = phone.secrets();
  for (const auto command :
       {ControlCommand::status, ControlCommand::pause, ControlCommand::resume, ControlCommand::quit}) {
    const std::string answer = control.answer(jsonText(ControlRequest{command, {}}.json()));
    for (const std::string& secret : {secrets.pairingID, secrets.relayAuthToken, secrets.e2eSecret}) {
      ASSERT_FALSE(secret.empty());
      EXPECT_THAT(answer, Not(HasSubstr(secret)));
    }
  }
}

TEST_F(AgentControlTest, pausesForEachLength) {
  world.environment.setTimeZone("Europe/Berlin");
  const Date now = world.now();  // 01:00 on the owner's clock
  const auto paused = [&](NotificationPauseOption length) { return asked(ControlCommand::pause, length).text; };
  EXPECT_EQ(paused(NotificationPauseOption::twoHours), "Alerts: Paused until 3:00 AM.");
  EXPECT_EQ(pause().pausedUntil, now + std::chrono::hours(2));
  EXPECT_EQ(paused(NotificationPauseOption::fourHours), "Alerts: Paused until 5:00 AM.");
  EXPECT_EQ(pause().pausedUntil, now + std::chrono::hours(4));
  EXPECT_EQ(paused(NotificationPauseOption::untilTomorrow), "Alerts: Paused until tomorrow at 9:00 AM.");
  EXPECT_EQ(pause().pausedUntil, now + std::chrono::hours(32));
  EXPECT_EQ(paused(NotificationPauseOption::indefinitely), "Alerts: Paused.");
  EXPECT_TRUE(pause().pausesIndefinitely);
}

TEST_F(AgentControlTest, resumes) {
  EXPECT_EQ(asked(ControlCommand::resume).text, "Alerts: Active.") << "nothing was paused";
  ASSERT_TRUE(asked(ControlCommand::pause).ok);
  EXPECT_EQ(asked(ControlCommand::resume), (ControlAnswer{true, "Alerts: Active.", std::nullopt}));
  EXPECT_FALSE(pause().isPaused());
}

TEST_F(AgentControlTest, saysInTheStatusHowLongThePauseLasts) {
  connect();
  reportPhone("Work Phone");
  ASSERT_TRUE(asked(ControlCommand::pause).ok);
  EXPECT_THAT(asked(ControlCommand::status).text, HasSubstr("Paused until 2:00 AM. Alerts will resume automatically."));
  world.time.advance(Seconds(7200));
  EXPECT_THAT(asked(ControlCommand::status).text, HasSubstr("Active. Pause while handling prompts locally."));
}

TEST_F(AgentControlTest, quitsOnceTheAnswerIsOnItsWay) {
  EXPECT_EQ(asked(ControlCommand::quit), (ControlAnswer{true, "Tallyfox quits.", std::nullopt}));
  EXPECT_EQ(world.terminations, 0);
  world.time.runDue();
  EXPECT_EQ(world.terminations, 1);
}

TEST_F(AgentControlTest, answersWhatItCannotTake) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "The text is not valid JSON."},
      {"quit", "The text is not valid JSON."},
      {"{\"version\":1,", "The text is not valid JSON."},
      {"\"\xff\"", "The text is not valid UTF-8."},
      {std::string(65, '['), "The text is nested too deeply."},
      {R"({"version":1,"command":"quit"} {})", "The text is not valid JSON."},
      {R"({"version":1,"command":"dance"})", "The agent does not know this command."},
      {R"({"version":2,"command":"quit"})", "This agent takes commands of version 1, not 2."},
  };
  for (const auto& [line, text] : cases)
    EXPECT_EQ(answered(line), (ControlAnswer{false, text, std::nullopt})) << line;
  world.time.runDue();
  EXPECT_EQ(world.terminations, 0);
}

TEST_F(AgentControlTest, saysThatAnAnswerWouldBeTooLong) {
  connect();
  reportPhone(std::string(limits::controlAnswerBytes, 'n'));
  EXPECT_EQ(asked(ControlCommand::status), (ControlAnswer{false, "The answer is too long to be told.", std::nullopt}));
}

}  // namespace
}  // namespace tallyfox
