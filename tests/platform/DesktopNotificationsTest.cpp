// Notifications against a notification server of the test's own on a private bus: what it is told, in its markup, and
// that a missing or lost server only shows in the authorisation.

#include "platform/linux/DesktopNotifications.hpp"

#include <gtest/gtest.h>

#include "contract/Recorder.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/PrivateBus.hpp"

namespace tallyfox::linux_os {
namespace {

using testing_network::waitUntil;
using Shown = std::pair<std::string, std::string>;

/// A notification server that keeps titles and bodies.
BusProgram::Answer notificationServer(const contract::Recorder<Shown>& shown, bool showsMarkup) {
  return [shown, showsMarkup](sd_bus_message* call) {
    if (sd_bus_message_is_method_call(call, nullptr, "GetCapabilities") > 0)
      return sd_bus_reply_method_return(call, "as", 1, showsMarkup ? "body-markup" : "body");
    const char* text = nullptr;
    std::uint32_t replaces = 0;
    const char* title = nullptr;
    const char* body = nullptr;
    sd_bus_message_read(call, "susss", &text, &replaces, &text, &title, &body);
    shown.add({title, body});
    return 1;
  };
}

struct Answers {
  std::function<void(std::expected<bool, std::string>)> recorder() const {
    return [seen = seen](const std::expected<bool, std::string>& answer) {
      seen.add(!answer ? "error: " + answer.error() : *answer ? "yes" : "no");
    };
  }
  contract::Recorder<std::string> seen;
};

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";

TEST(DesktopNotifications, areShownByTheDesktopsServer) {
  const PrivateBus bus;
  const contract::Recorder<Shown> shown;
  const BusProgram server(bus, service, object, notificationServer(shown, true));
  ThreadQueue mainQueue("main");
  DesktopNotifications notifications(mainQueue, bus.address());
  const Answers answers;
  notifications.requestAuthorization(answers.recorder());
  notifications.add({"1", "Files: Empty Trash?", "Delete <all> & more"});
  EXPECT_TRUE(waitUntil([&] { return shown.size() == 1 && answers.seen.size() == 1; }));
  EXPECT_EQ(answers.seen.all().front(), "yes");
  EXPECT_EQ(shown.all().front(), (Shown{"Files: Empty Trash?", "Delete &lt;all&gt; &amp; more"}));
}

TEST(DesktopNotifications, arePlainForAServerWithoutMarkup) {
  const PrivateBus bus;
  const contract::Recorder<Shown> shown;
  const BusProgram server(bus, service, object, notificationServer(shown, false));
  ThreadQueue mainQueue("main");
  DesktopNotifications notifications(mainQueue, bus.address());
  notifications.add({"1", "T", "a < b"});
  EXPECT_TRUE(waitUntil([&] { return shown.size() == 1; }));
  EXPECT_EQ(shown.all().front().second, "a < b");
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
