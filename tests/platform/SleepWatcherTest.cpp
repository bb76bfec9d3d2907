// Waking from sleep reaches the main queue; falling asleep, strangers and a missing bus tell nothing.

#include "platform/linux/SleepWatcher.hpp"

#include <gtest/gtest.h>

#include "platform/PrivateBus.hpp"
#include "platform/linux/MainEventLoop.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::linux_os {
namespace {

void announce(sd_bus* bus, const char* member, int isGoingToSleep) {
  EXPECT_GE(
      sd_bus_emit_signal(bus, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", member, "b", isGoingToSleep),
      0);
  sd_bus_flush(bus);
}

TEST(SleepWatcher, tellsOfEachWaking) {
  const PrivateBus bus;
  const auto stranger = bus.connect();
  const auto manager = bus.connect();
  ASSERT_GE(sd_bus_request_name(manager.get(), "org.freedesktop.login1", 0), 0);
  MainEventLoop loop;
  int wakings = 0;
  const SleepWatcher watcher(bus.address(), loop, [&] {
    EXPECT_TRUE(loop.isCurrent());
    if (++wakings == 2) loop.quit();
  });
  announce(stranger.get(), "PrepareForSleep", 0);
  announce(manager.get(), "PrepareForSleep", 1);
  announce(manager.get(), "PrepareForShutdown", 0);
  EXPECT_GE(sd_bus_emit_signal(manager.get(), "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                               "PrepareForSleep", "s", "no truth value"),
            0);
  announce(manager.get(), "PrepareForSleep", 0);
  announce(manager.get(), "PrepareForSleep", 1);
  announce(manager.get(), "PrepareForSleep", 0);
  const auto limit = loop.after(Seconds{20}, [&] { loop.quit(); });
  loop.run();
  EXPECT_EQ(wakings, 2);
}

TEST(SleepWatcher, tellsNothingWithoutABus) {
  MainEventLoop loop;
  const SleepWatcher watcher("unix:path=/nonexistent/bus", loop, [] { FAIL(); });
  const auto limit = loop.after(Seconds{0.05}, [&] { loop.quit(); });
  loop.run();
}

TEST(SystemBusAddress, isTheVariableElseTheWellKnownSocket) {
  memory::MemoryEnvironment environment;
  EXPECT_EQ(systemBusAddress(environment), "unix:path=/run/dbus/system_bus_socket");
  environment.set("DBUS_SYSTEM_BUS_ADDRESS", "");
  EXPECT_EQ(systemBusAddress(environment), "unix:path=/run/dbus/system_bus_socket");
  environment.set("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/elsewhere");
  EXPECT_EQ(systemBusAddress(environment), "unix:path=/elsewhere");
}

}  // namespace
}  // namespace tallyfox::linux_os
