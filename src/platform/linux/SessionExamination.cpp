#include "platform/linux/SessionExamination.hpp"

#include <string_view>
#include <utility>

#include "platform/linux/SdBus.hpp"
#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::chrono::milliseconds connectTimeout{1000};
constexpr std::chrono::microseconds answerTimeout{1'500'000};
constexpr const char* notifications = "org.freedesktop.Notifications";
constexpr const char* watcher = "org.kde.StatusNotifierWatcher";

std::unexpected<std::string> failure(const std::string& reason) {
  return std::unexpected("It cannot be reached: " + reason + ".");
}

DoctorAnswer<SdBusHandle> sessionBus(const std::string& address) {
  auto bus = connectedBus(address, connectTimeout);
  if (!bus) return failure("no session bus (" + bus.error() + ")");
  ::sd_bus_set_method_call_timeout(bus->get(), static_cast<std::uint64_t>(answerTimeout.count()));
  return std::move(*bus);
}

/// Empty when there is no answer.
template <typename... Arguments>
SdBusMessageHandle answerOfBus(sd_bus* bus, const char* member, const char* types, Arguments... arguments) {
  sd_bus_message* reply = nullptr;
  ::sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member, nullptr,
                       &reply, types, arguments...);
  return SdBusMessageHandle(reply);
}

bool hasOwner(sd_bus* bus, const char* name) {
  const auto reply = answerOfBus(bus, "NameHasOwner", "s", name);
  int isOwned = 0;
  return reply && ::sd_bus_message_read(reply.get(), "b", &isOwned) > 0 && isOwned != 0;
}

bool canBeStarted(sd_bus* bus, std::string_view name) {
  const auto reply = answerOfBus(bus, "ListActivatableNames", "");
  if (!reply || ::sd_bus_message_enter_container(reply.get(), 'a', "s") <= 0) return false;
  const char* activatable = nullptr;
  while (::sd_bus_message_read(reply.get(), "s", &activatable) > 0)
    if (name == activatable) return true;
  return false;
}

}  // namespace

DoctorAnswer<bool> examinedAccessibilitySwitch(const std::string& sessionBusAddress) {
  const auto enabled = SessionStatus(sessionBusAddress).isEnabled();
  if (!enabled) return failure(enabled.error());
  return *enabled;
}

DoctorAnswer<void> examinedAccessibilityBus(const std::string& sessionBusAddress) {
  const auto address = SessionStatus(sessionBusAddress).accessibilityBusAddress();
  if (!address) return failure(address.error());
  const auto bus = connectedBus(*address, connectTimeout);
  if (!bus) return failure(bus.error());
  return {};
}

DoctorAnswer<std::string> examinedNotifications(const std::string& sessionBusAddress) {
  const auto bus = sessionBus(sessionBusAddress);
  if (!bus) return std::unexpected(bus.error());
  if (!hasOwner(bus->get(), notifications)) {
    if (canBeStarted(bus->get(), notifications)) return std::string();
    return std::unexpected("There is no notification service.");
  }
  sd_bus_message* answered = nullptr;
  ::sd_bus_call_method(bus->get(), notifications, "/org/freedesktop/Notifications", notifications,
                       "GetServerInformation", nullptr, &answered, "");
  const SdBusMessageHandle reply(answered);
  const char* name = nullptr;
  if (!reply || ::sd_bus_message_read(reply.get(), "s", &name) <= 0)
    return std::unexpected("The notification service does not answer.");
  return *name == '\0' ? std::string("A nameless service") : std::string(name);
}

DoctorAnswer<bool> examinedStatusNotifiers(const std::string& sessionBusAddress) {
  const auto bus = sessionBus(sessionBusAddress);
  if (!bus) return std::unexpected(bus.error());
  if (!hasOwner(bus->get(), watcher)) return false;
  // A watcher without a host only takes the icons' names.
  int hasHost = 0;
  ::sd_bus_get_property_trivial(bus->get(), watcher, "/StatusNotifierWatcher", watcher,
                                "IsStatusNotifierHostRegistered", nullptr, 'b', &hasHost);
  return hasHost != 0;
}

}  // namespace tallyfox::linux_os
