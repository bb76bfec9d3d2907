#include "platform/linux/SdBus.hpp"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

namespace tallyfox::linux_os {
namespace {

int startedBus(const std::string& address, SdBusHandle& handle) {
  sd_bus* bus = nullptr;
  if (address.empty()) {
    const int result = sd_bus_open_user(&bus);
    handle.reset(bus);
    return result;
  }
  int result = sd_bus_new(&bus);
  if (result < 0) return result;
  handle.reset(bus);
  result = sd_bus_set_address(bus, address.c_str());
  if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
  return result < 0 ? result : sd_bus_start(bus);
}

int awaitGreeting(sd_bus* bus, std::chrono::milliseconds atMost) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + atMost;
  while (true) {
    int result = sd_bus_is_ready(bus);
    if (result != 0) return result;
    result = sd_bus_process(bus, nullptr);
    if (result < 0) return result;
    if (result > 0) continue;
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    if (left <= 0) return -ETIMEDOUT;
    result = sd_bus_wait(bus, static_cast<std::uint64_t>(left));
    if (result < 0 && result != -EINTR) return result;
  }
}

}  // namespace

std::expected<SdBusHandle, std::string> connectedBus(const std::string& address, std::chrono::milliseconds atMost) {
  SdBusHandle bus;
  int result = startedBus(address, bus);
  if (result >= 0) result = awaitGreeting(bus.get(), atMost);
  if (result < 0) return std::unexpected(std::string(std::strerror(-result)));
  return bus;
}

}  // namespace tallyfox::linux_os
