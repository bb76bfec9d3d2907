// The switchboard: what the application framework calls reaches the right part. The agent as a whole is shown in sim/.

#include "app/AppDelegate.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AgentWorld.hpp"
#include "app/TestPhone.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class AppDelegateTest : public testing::Test {
 protected:
  AgentWorld world;
  TestPhone phone{world};
  AppDelegate agent{world.platform(), world.interface};
};

TEST_F(AppDelegateTest, alwaysShowsTheStatusWindowWhenReopened) {
  EXPECT_TRUE(agent.applicationShouldHandleReopen(true));
  EXPECT_TRUE(agent.applicationShouldHandleReopen(false));
  EXPECT_THAT(world.interface.calls, ElementsAre("showStatusWindow", "showStatusWindow"));
}

TEST_F(AppDelegateTest, quitsByAskingTheApplicationToTerminate) {
  agent.applicationDidFinishLaunching();
  agent.quit();
  EXPECT_EQ(world.terminations, 1);
  EXPECT_TRUE(world.instanceLock.isHeld("com.tallyfox.agent.lock")) << "the end itself comes with termination";
  agent.applicationWillTerminate();
  EXPECT_FALSE(world.instanceLock.isHeld("com.tallyfox.agent.lock"));
}

TEST_F(AppDelegateTest, unpairsFromTheStatusWindow) {
  world.network.answerAll(HttpResponse{204});
  agent.applicationDidFinishLaunching();
  world.time.runDue();
  world.network.open(0);
  world.time.runDue();
  const InstallationSecrets before = phone.secrets();
  agent.unpairPhoneFromStatusWindow();
  world.time.runDue();
  EXPECT_THAT(phone.frames(0, relay_type::phoneUnpair), SizeIs(1));
  EXPECT_NE(phone.secrets().pairingID, before.pairingID);
}

TEST(AppDelegate, mayGoWhileAScanIsUnderWay) {
  AgentWorld world;
  {
    AppDelegate agent(world.platform(), world.interface);
    agent.applicationDidFinishLaunching();
    // The scan is posted in this moment and has not run when the agent is gone.
    EXPECT_TRUE(world.time.advanceUntil([&] { return world.time.clock().continuous() >= Seconds(0.3); }, Seconds(1)));
    agent.applicationWillTerminate();
  }
  world.time.advance(Seconds(10));
  EXPECT_EQ(world.interface.shownCount(), 0);
}

}  // namespace
}  // namespace tallyfox
