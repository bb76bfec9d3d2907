#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "contract/Recorder.hpp"
#include "platform/PrivateBus.hpp"

namespace tallyfox {

/// A notification as a desktop's server got it.
struct ShownNotification {
  std::string title;
  std::string body;
  std::string sound;  ///< its name in the sound theme; empty without one
};

/// The desktop's notification server on a private bus; it keeps what it is told to show.
class NotificationServer {
 public:
  NotificationServer(const PrivateBus& bus, bool showsMarkup)
      : program_(bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                 [shown = shown_, showsMarkup](sd_bus_message* call) {
                   if (sd_bus_message_is_method_call(call, nullptr, "GetCapabilities") > 0)
                     return sd_bus_reply_method_return(call, "as", 1, showsMarkup ? "body-markup" : "body");
                   shown.add(notification(call));
                   return 1;
                 }) {}

  [[nodiscard]] std::vector<ShownNotification> shown() const { return shown_.all(); }

 private:
  static ShownNotification notification(sd_bus_message* call) {
    const char* text = nullptr;
    std::uint32_t replaced = 0;
    const char* title = "";
    const char* body = "";
    sd_bus_message_read(call, "susss", &text, &replaced, &text, &title, &body);
    ShownNotification shown{title, body, ""};
    sd_bus_message_skip(call, "as");
    sd_bus_message_enter_container(call, 'a', "{sv}");
    while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
      const char* hint = "";
      sd_bus_message_read(call, "s", &hint);
      const char* value = "";
      if (std::string_view(hint) == "sound-name" && sd_bus_message_read(call, "v", "s", &value) > 0)
        shown.sound = value;
      else
        sd_bus_message_skip(call, "v");
      sd_bus_message_exit_container(call);
    }
    return shown;
  }

  contract::Recorder<ShownNotification> shown_;
  BusProgram program_;
};

}  // namespace tallyfox
