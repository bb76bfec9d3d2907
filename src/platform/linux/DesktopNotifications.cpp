#include "platform/linux/DesktopNotifications.hpp"

#include <chrono>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/Text.hpp"
#include "platform/linux/SdBus.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";
/// A server that is started by this very call may take a moment.
constexpr std::chrono::milliseconds answerTime{3000};
constexpr std::int32_t serverDecidesExpiry = -1;

std::string sentence(int error) {
  return std::string(std::strerror(-error)) + ".";
}

}  // namespace

std::string notificationMarkup(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '&')
      result += "&amp;";
    else if (c == '<')
      result += "&lt;";
    else if (c == '>')
      result += "&gt;";
    else
      result += c;
  }
  return result;
}

/// The connection, opened when first needed and again after a loss.
class DesktopNotifications::Bus {
 public:
  explicit Bus(std::string address) : address_(std::move(address)) {}

  /// Asks the server what it can do, which also starts it; gives why there is none.
  std::optional<std::string> connect() {
    if (bus_) return std::nullopt;
    auto connected = connectedBus(address_, answerTime);
    if (!connected) return connected.error();
    bus_ = std::move(*connected);
    ::sd_bus_set_method_call_timeout(bus_.get(), std::chrono::microseconds(answerTime).count());
    auto failure = readCapabilities();
    if (failure) bus_.reset();
    return failure;
  }

  void show(const UserNotification& notification) {
    if (connect()) return;
    drain();
    if (bus_ && send(notification) < 0) bus_.reset();
  }

 private:
  std::optional<std::string> readCapabilities() {
    sd_bus_error error{};
    sd_bus_message* answered = nullptr;
    const int result =
        ::sd_bus_call_method(bus_.get(), service, object, service, "GetCapabilities", &error, &answered, "");
    const SdBusMessageHandle answer(answered);
    const std::string text = error.message != nullptr ? error.message : "";
    ::sd_bus_error_free(&error);
    if (result < 0) return text.empty() ? sentence(result) : text;
    showsMarkup_ = false;
    if (::sd_bus_message_enter_container(answer.get(), 'a', "s") < 0) return std::nullopt;
    const char* capability = nullptr;
    while (::sd_bus_message_read(answer.get(), "s", &capability) > 0)
      if (std::string_view(capability) == "body-markup") showsMarkup_ = true;
    return std::nullopt;
  }

  /// Drops what servers send unasked, and a connection that was lost meanwhile.
  void drain() {
    int result = 0;
    do
      result = ::sd_bus_process(bus_.get(), nullptr);
    while (result > 0);
    if (result < 0) {
      bus_.reset();
      [[maybe_unused]] const auto failure = connect();
    }
  }

  int send(const UserNotification& notification) {
    const std::string title = repairedUtf8(notification.title);
    const std::string plain = repairedUtf8(notification.body);
    const std::string body = showsMarkup_ ? notificationMarkup(plain) : plain;
    sd_bus_message* created = nullptr;
    if (const int result = ::sd_bus_message_new_method_call(bus_.get(), &created, service, object, service, "Notify");
        result < 0)
      return result;
    const SdBusMessageHandle message(created);
    int result = ::sd_bus_message_append(
        message.get(), "susssasa{sv}i", "Tallyfox", std::uint32_t{0}, "dialog-question", title.c_str(), body.c_str(), 0,
        2, "desktop-entry", "s", "com.tallyfox.agent", "sound-name", "s", "message-new-instant", serverDecidesExpiry);
    if (result < 0) return result;
    ::sd_bus_message_set_expect_reply(message.get(), 0);
    result = ::sd_bus_send(bus_.get(), message.get(), nullptr);
    return result < 0 ? result : ::sd_bus_flush(bus_.get());
  }

  std::string address_;
  SdBusHandle bus_;
  bool showsMarkup_ = false;
};

DesktopNotifications::DesktopNotifications(SerialQueue& mainQueue, std::string sessionBusAddress)
    : mainQueue_(mainQueue), bus_(std::make_shared<Bus>(std::move(sessionBusAddress))) {}

DesktopNotifications::~DesktopNotifications() = default;

void DesktopNotifications::requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) {
  worker_.post([bus = bus_, &mainQueue = mainQueue_, answer = lifetime_.guard(std::move(completion))]() mutable {
    const auto failure = bus->connect();
    mainQueue.post([failure, answer = std::move(answer)]() mutable {
      if (failure)
        answer(std::expected<bool, std::string>(std::unexpected(*failure)));
      else
        answer(std::expected<bool, std::string>(true));
    });
  });
}

void DesktopNotifications::add(const UserNotification& notification) {
  worker_.post([bus = bus_, notification] { bus->show(notification); });
}

}  // namespace tallyfox::linux_os
