// A change of the session's accessibility switch reaches the main queue; other signals and a missing bus tell nothing.

#include "platform/linux/TrustChangeWatcher.hpp"

#include <gtest/gtest.h>

#include "platform/PrivateBus.hpp"
#include "platform/linux/MainEventLoop.hpp"

namespace tallyfox::linux_os {
namespace {

void announce(sd_bus* bus, const char* interface) {
  EXPECT_GE(sd_bus_emit_signal(bus, "/org/a11y/bus", "org.freedesktop.DBus.Properties", "PropertiesChanged", "sa{sv}as",
                               interface, 1, "IsEnabled", "b", 1, 0),
            0);
  sd_bus_flush(bus);
}

TEST(TrustChangeWatcher, tellsOfTheAccessibilityStatusAlone) {
  const PrivateBus bus;
  const auto status = bus.connect();
  ASSERT_GE(sd_bus_request_name(status.get(), "org.a11y.Bus", 0), 0);
  MainEventLoop loop;
  TrustChangeWatcher watcher(bus.address(), loop);
  int changes = 0;
  const auto subscription = watcher.subscribe([&] {
    EXPECT_TRUE(loop.isCurrent());
    ++changes;
    loop.quit();
  });
  auto ended = watcher.subscribe([&] { FAIL(); });
  ended.reset();
  announce(status.get(), "org.a11y.Other");
  announce(status.get(), "org.a11y.Status");
  const auto limit = loop.after(Seconds{20}, [&] { loop.quit(); });
  loop.run();
  EXPECT_EQ(changes, 1);
}

TEST(TrustChangeWatcher, tellsNothingWithoutABus) {
  MainEventLoop loop;
  TrustChangeWatcher watcher("unix:path=/nonexistent/bus", loop);
  const auto subscription = watcher.subscribe([] { FAIL(); });
  const auto limit = loop.after(Seconds{0.05}, [&] { loop.quit(); });
  loop.run();
}

}  // namespace
}  // namespace tallyfox::linux_os
