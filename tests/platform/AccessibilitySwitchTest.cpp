// Opening the accessibility settings turns the session's accessibility on; other addresses and a missing bus do
// nothing.

#include "platform/linux/AccessibilitySwitch.hpp"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>

#include "platform/PrivateBus.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* privacy = "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

/// The launcher of the accessibility bus, as far as its switch goes.
class Launcher {
 public:
  explicit Launcher(const PrivateBus& bus)
      : program_(bus, "org.a11y.Bus", "/org/a11y/bus", [this](sd_bus_message* call) { return answer(call); }) {}
  /// What was set, once something is.
  std::string awaitSetting() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !setting_.empty(); });
    return setting_;
  }

 private:
  int answer(sd_bus_message* call) {
    const char* interface = nullptr;
    const char* property = nullptr;
    int value = 0;
    if (sd_bus_message_is_method_call(call, "org.freedesktop.DBus.Properties", "Set") <= 0 ||
        sd_bus_message_read(call, "ssv", &interface, &property, "b", &value) <= 0)
      return 0;
    const std::scoped_lock lock(mutex_);
    setting_ += std::string(interface) + "." + property + "=" + std::to_string(value) + ";";
    changed_.notify_all();
    return sd_bus_reply_method_return(call, "");
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string setting_;
  BusProgram program_;
};

TEST(AccessibilitySwitch, turnsAccessibilityOn) {
  const PrivateBus bus;
  Launcher launcher(bus);
  AccessibilitySwitch settings(bus.address());
  settings.open("x-apple.systempreferences:com.apple.LoginItems-Settings.extension");
  settings.open(privacy);
  EXPECT_EQ(launcher.awaitSetting(), "org.a11y.Status.IsEnabled=1;");
}

TEST(AccessibilitySwitch, doesNothingWithoutABus) {
  AccessibilitySwitch settings("unix:path=/nonexistent/bus");
  settings.open(privacy);
  SessionStatus status("unix:path=/nonexistent/bus");
  EXPECT_FALSE(status.enable().has_value());
}

}  // namespace
}  // namespace tallyfox::linux_os
