#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <expected>
#include <memory>
#include <string>

namespace tallyfox::linux_os {

struct SdBusCloser {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct SdBusMessageReleaser {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
struct SdBusSlotReleaser {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using SdBusHandle = std::unique_ptr<sd_bus, SdBusCloser>;
using SdBusMessageHandle = std::unique_ptr<sd_bus_message, SdBusMessageReleaser>;
using SdBusSlotHandle = std::unique_ptr<sd_bus_slot, SdBusSlotReleaser>;

/// A private connection to a message bus, ready for calls; of the user's session bus when `address` is empty. Fails
/// with a sentence when the bus does not greet in time. A connection belongs to one thread.
[[nodiscard]] std::expected<SdBusHandle, std::string> connectedBus(const std::string& address,
                                                                   std::chrono::milliseconds atMost);

}  // namespace tallyfox::linux_os
