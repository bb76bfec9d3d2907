#include "platform/linux/SessionStatus.hpp"

#include <chrono>
#include <cstdint>
#include <utility>

namespace tallyfox::linux_os {
namespace {

constexpr std::chrono::milliseconds connectTimeout{1000};
/// The launcher of the accessibility bus is started by the first question to it.
constexpr std::chrono::microseconds answerTimeout{1'000'000};
constexpr const char* noAnswer = "the accessibility bus does not answer";
constexpr const char* properties = "org.freedesktop.DBus.Properties";
constexpr const char* statusInterface = "org.a11y.Status";
constexpr const char* enabledProperty = "IsEnabled";

}  // namespace

std::expected<SdBusMessageHandle, std::string> SessionStatus::question(const char* interface, const char* member) {
  // That the other side hung up shows only when what came in is looked at.
  while (bus_ && sd_bus_process(bus_.get(), nullptr) > 0) {
  }
  if (!bus_ || sd_bus_is_open(bus_.get()) <= 0) {
    bus_.reset();
    auto bus = connectedBus(address_, connectTimeout);
    if (!bus) return std::unexpected("no session bus (" + bus.error() + ")");
    bus_ = std::move(*bus);
  }
  sd_bus_message* made = nullptr;
  const int result =
      sd_bus_message_new_method_call(bus_.get(), &made, "org.a11y.Bus", "/org/a11y/bus", interface, member);
  if (result < 0) return std::unexpected(std::string(noAnswer));
  return SdBusMessageHandle(made);
}

std::expected<SdBusMessageHandle, std::string> SessionStatus::answer(const SdBusMessageHandle& question) {
  sd_bus_message* reply = nullptr;
  const int result =
      sd_bus_call(bus_.get(), question.get(), static_cast<std::uint64_t>(answerTimeout.count()), nullptr, &reply);
  if (result < 0) return std::unexpected(std::string(noAnswer));
  return SdBusMessageHandle(reply);
}

std::expected<std::string, std::string> SessionStatus::accessibilityBusAddress() {
  const auto asked = question("org.a11y.Bus", "GetAddress");
  if (!asked) return std::unexpected(asked.error());
  const auto reply = answer(*asked);
  if (!reply) return std::unexpected(reply.error());
  const char* address = nullptr;
  if (sd_bus_message_read_basic(reply->get(), 's', &address) <= 0 || *address == '\0')
    return std::unexpected(std::string("there is no accessibility bus"));
  return std::string(address);
}

std::expected<bool, std::string> SessionStatus::isEnabled() {
  const auto asked = question(properties, "Get");
  if (!asked) return std::unexpected(asked.error());
  sd_bus_message_append(asked->get(), "ss", statusInterface, enabledProperty);
  const auto reply = answer(*asked);
  if (!reply) return std::unexpected(reply.error());
  int enabled = 0;
  if (sd_bus_message_read(reply->get(), "v", "b", &enabled) <= 0)
    return std::unexpected(std::string("the accessibility status cannot be read"));
  return enabled != 0;
}

std::expected<void, std::string> SessionStatus::enable() {
  const auto asked = question(properties, "Set");
  if (!asked) return std::unexpected(asked.error());
  sd_bus_message_append(asked->get(), "ssv", statusInterface, enabledProperty, "b", 1);
  const auto reply = answer(*asked);
  if (!reply) return std::unexpected(reply.error());
  return {};
}

}  // namespace tallyfox::linux_os
