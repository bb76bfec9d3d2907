#include "platform/linux/SessionStatus.hpp"

#include <chrono>
#include <cstdint>
#include <utility>

namespace tallyfox::linux_os {
namespace {

constexpr std::chrono::milliseconds connectTimeout{1000};
/// The launcher of the accessibility bus is started by the first question to it.
constexpr std::chrono::microseconds answerTimeout{1'000'000};

}  // namespace

std::expected<SdBusMessageHandle, std::string> SessionStatus::answer(const char* interface, const char* member,
                                                                     const char* property) {
  if (!bus_ || sd_bus_is_open(bus_.get()) <= 0) {
    bus_.reset();
    auto bus = connectedBus(address_, connectTimeout);
    if (!bus) return std::unexpected("no session bus (" + bus.error() + ")");
    bus_ = std::move(*bus);
  }
  sd_bus_message* made = nullptr;
  int result = sd_bus_message_new_method_call(bus_.get(), &made, "org.a11y.Bus", "/org/a11y/bus", interface, member);
  const SdBusMessageHandle question(made);
  if (result >= 0 && property != nullptr)
    result = sd_bus_message_append(question.get(), "ss", "org.a11y.Status", property);
  sd_bus_message* reply = nullptr;
  if (result >= 0)
    result =
        sd_bus_call(bus_.get(), question.get(), static_cast<std::uint64_t>(answerTimeout.count()), nullptr, &reply);
  if (result < 0) return std::unexpected(std::string("the accessibility bus does not answer"));
  return SdBusMessageHandle(reply);
}

std::expected<std::string, std::string> SessionStatus::accessibilityBusAddress() {
  const auto reply = answer("org.a11y.Bus", "GetAddress", nullptr);
  if (!reply) return std::unexpected(reply.error());
  const char* address = nullptr;
  if (sd_bus_message_read_basic(reply->get(), 's', &address) <= 0 || *address == '\0')
    return std::unexpected(std::string("there is no accessibility bus"));
  return std::string(address);
}

std::expected<bool, std::string> SessionStatus::isEnabled() {
  const auto reply = answer("org.freedesktop.DBus.Properties", "Get", "IsEnabled");
  if (!reply) return std::unexpected(reply.error());
  int enabled = 0;
  if (sd_bus_message_read(reply->get(), "v", "b", &enabled) <= 0)
    return std::unexpected(std::string("the accessibility status cannot be read"));
  return enabled != 0;
}

}  // namespace tallyfox::linux_os
