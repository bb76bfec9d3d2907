// Notifications against a notification server of the test's own on a private bus: what it is told, in its markup, and
// that a missing or lost server only shows in the authorisation.

#include "platform/linux/DesktopNotifications.hpp"

#include <gtest/gtest.h>

#include "contract/Recorder.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/NotificationServer.hpp"

namespace tallyfox::linux_os {
namespace {

using testing_network::waitUntil;

struct Answers {
  std::function<void(std::expected<bool, std::string>)> recorder() const {
    return [seen = seen](const std::expected<bool, std::string>& answer) {
      seen.add(!answer ? "error: " + answer.error() : *answer ? "yes" : "no");
    };
  }
  contract::Recorder<std::string> seen;
};

TEST(DesktopNotifications, areShownByTheDesktopsServer) {
  const PrivateBus bus;
  const NotificationServer server(bus, true);
  ThreadQueue mainQueue("main");
  DesktopNotifications notifications(mainQueue, bus.address());
  const Answers answers;
  notifications.requestAuthorization(answers.recorder());
  notifications.add({"1", "Files: Empty Trash?", "Delete <all> & more"});
  EXPECT_TRUE(waitUntil([&] { return server.shown().size() == 1 && answers.seen.size() == 1; }));
  EXPECT_EQ(answers.seen.all().front(), "yes");
  EXPECT_EQ(server.shown().front().title, "Files: Empty Trash?");
  EXPECT_EQ(server.shown().front().body, "Delete &lt;all&gt; &amp; more");
  EXPECT_EQ(server.shown().front().sound, "message-new-instant") << "the desktop's sound for news";
}

TEST(DesktopNotifications, arePlainForAServerWithoutMarkup) {
  const PrivateBus bus;
  const NotificationServer server(bus, false);
  ThreadQueue mainQueue("main");
  DesktopNotifications notifications(mainQueue, bus.address());
  notifications.add({"1", "T", "a < b"});
  EXPECT_TRUE(waitUntil([&] { return server.shown().size() == 1; }));
  EXPECT_EQ(server.shown().front().body, "a < b");
}

TEST(DesktopNotifications, sayWhyThereIsNoAuthorisation) {
  ThreadQueue mainQueue("main");
  const Answers answers;
  DesktopNotifications withoutBus(mainQueue, "unix:path=/nonexistent/bus");
  withoutBus.add({"1", "T", "B"});
  withoutBus.requestAuthorization(answers.recorder());
  EXPECT_TRUE(waitUntil([&] { return answers.seen.size() == 1; }));
  EXPECT_TRUE(answers.seen.all().front().starts_with("error: ")) << answers.seen.all().front();
  const PrivateBus bus;
  const auto ready = bus.connect();
  DesktopNotifications withoutServer(mainQueue, bus.address());
  withoutServer.requestAuthorization(answers.recorder());
  EXPECT_TRUE(waitUntil([&] { return answers.seen.size() == 2; }));
  EXPECT_TRUE(answers.seen.all().back().starts_with("error: ")) << answers.seen.all().back();
}

}  // namespace
}  // namespace tallyfox::linux_os
