// What the session bus offers, as the doctor sees it: present, absent, waiting to be started, or hung; and nothing is
// started by the look.

#include "platform/linux/SessionExamination.hpp"

#include <gtest/gtest.h>

#include <atomic>

#include "platform/PrivateBus.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* nowhere = "unix:path=/nonexistent/bus";
constexpr const char* noBus = "It cannot be reached: no session bus (No such file or directory).";

/// The launcher of the accessibility bus.
class Launcher {
 public:
  Launcher(const PrivateBus& bus, bool isEnabled, std::string address)
      : program_(bus, "org.a11y.Bus", "/org/a11y/bus", [isEnabled, address = std::move(address)](sd_bus_message* call) {
          if (sd_bus_message_is_method_call(call, "org.freedesktop.DBus.Properties", "Get") > 0)
            return sd_bus_reply_method_return(call, "v", "b", isEnabled ? 1 : 0);
          return sd_bus_reply_method_return(call, "s", address.c_str());
        }) {}

 private:
  BusProgram program_;
};

TEST(SessionExamination, readsTheAccessibilitySwitch) {
  for (const bool isEnabled : {true, false}) {
    const PrivateBus bus;
    const Launcher launcher(bus, isEnabled, "");
    EXPECT_EQ(examinedAccessibilitySwitch(bus.address()), isEnabled);
  }
}

TEST(SessionExamination, reachesTheAccessibilityBus) {
  const PrivateBus bus;
  const PrivateBus accessibilityBus;
  static_cast<void>(accessibilityBus.connect());
  const Launcher launcher(bus, true, accessibilityBus.address());
  EXPECT_TRUE(examinedAccessibilityBus(bus.address()).has_value());
}

TEST(SessionExamination, saysWhyThereIsNoAccessibilityBus) {
  const PrivateBus bus;
  static_cast<void>(bus.connect());
  EXPECT_EQ(examinedAccessibilityBus(bus.address()).error(),
            "It cannot be reached: the accessibility bus does not answer.");
  const Launcher launcher(bus, true, nowhere);
  EXPECT_EQ(examinedAccessibilityBus(bus.address()).error(), "It cannot be reached: No such file or directory.");
}

TEST(SessionExamination, namesTheNotificationService) {
  const PrivateBus bus;
  const BusProgram server(
      bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
      [](sd_bus_message* call) { return sd_bus_reply_method_return(call, "ssss", "dunst", "knopwob", "1.9", "1.2"); });
  EXPECT_EQ(examinedNotifications(bus.address()), "dunst");
}

TEST(SessionExamination, tellsAMissingOrBrokenNotificationService) {
  const PrivateBus bus;
  static_cast<void>(bus.connect());
  EXPECT_EQ(examinedNotifications(bus.address()).error(), "There is no notification service.");
  const BusProgram broken(bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                          [](sd_bus_message* call) { return sd_bus_reply_method_return(call, ""); });
  EXPECT_EQ(examinedNotifications(bus.address()).error(), "The notification service does not answer.");
}

TEST(SessionExamination, wantsAHostForTrayIcons) {
  for (const bool hasHost : {true, false}) {
    const PrivateBus bus;
    EXPECT_EQ((static_cast<void>(bus.connect()), examinedStatusNotifiers(bus.address())), false);
    const BusProgram watcher(
        bus, "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
        [hasHost](sd_bus_message* call) { return sd_bus_reply_method_return(call, "v", "b", hasHost ? 1 : 0); });
    EXPECT_EQ(examinedStatusNotifiers(bus.address()), hasHost);
  }
}

TEST(SessionExamination, saysThatThereIsNoBus) {
  EXPECT_EQ(examinedAccessibilitySwitch(nowhere).error(), noBus);
  EXPECT_EQ(examinedAccessibilityBus(nowhere).error(), noBus);
  EXPECT_EQ(examinedNotifications(nowhere).error(), noBus);
  EXPECT_EQ(examinedStatusNotifiers(nowhere).error(), noBus);
}

TEST(SessionExamination, doesNotWaitForABusThatHangs) {
  const PrivateBus bus;
  static_cast<void>(bus.connect());
  bus.setStopped(true);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(examinedAccessibilitySwitch(bus.address()).has_value());
  EXPECT_FALSE(examinedNotifications(bus.address()).has_value());
  EXPECT_FALSE(examinedStatusNotifiers(bus.address()).has_value());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  bus.setStopped(false);
}

}  // namespace
}  // namespace tallyfox::linux_os
