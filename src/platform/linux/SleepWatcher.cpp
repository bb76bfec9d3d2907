#include "platform/linux/SleepWatcher.hpp"

#include <utility>

namespace tallyfox::linux_os {
namespace {

constexpr std::chrono::milliseconds greetingTime{1000};
constexpr const char* sleepSignals =
    "type='signal',sender='org.freedesktop.login1',path='/org/freedesktop/login1',"
    "interface='org.freedesktop.login1.Manager',member='PrepareForSleep'";

}  // namespace

SleepWatcher::SleepWatcher(const std::string& systemBusAddress, FileDescriptorWatcher& watcher,
                           std::function<void()> onWake)
    : onWake_(std::move(onWake)) {
  auto bus = connectedBus(systemBusAddress, greetingTime);
  if (!bus) return;
  bus_ = std::move(*bus);
  sd_bus_slot* slot = nullptr;
  if (::sd_bus_add_match_async(bus_.get(), &slot, sleepSignals, onSignal, nullptr, this) < 0) return;
  match_.reset(slot);
  ::sd_bus_flush(bus_.get());
  watch_ = watcher.watchReadable(::sd_bus_get_fd(bus_.get()), [this] { onReadable(); });
}

SleepWatcher::~SleepWatcher() = default;

int SleepWatcher::onSignal(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
  int isGoingToSleep = 0;
  if (::sd_bus_message_read(signal, "b", &isGoingToSleep) >= 0 && isGoingToSleep == 0)
    static_cast<SleepWatcher*>(self)->onWake_();
  return 0;
}

void SleepWatcher::onReadable() {
  int result = 0;
  do
    result = ::sd_bus_process(bus_.get(), nullptr);
  while (result > 0);
  if (result < 0) watch_.reset();  // the system bus is gone; it does not come back before the machine starts anew
}

std::string systemBusAddress(Environment& environment) {
  const auto address = environment.value("DBUS_SYSTEM_BUS_ADDRESS");
  return address && !address->empty() ? *address : "unix:path=/run/dbus/system_bus_socket";
}

}  // namespace tallyfox::linux_os
