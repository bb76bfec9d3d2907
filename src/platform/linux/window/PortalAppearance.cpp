#include "platform/linux/window/PortalAppearance.hpp"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace tallyfox::linux_os {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds greetingTime = 1000ms;
constexpr std::chrono::milliseconds firstAnswerTime = 100ms;
/// A portal may be started by the question.
constexpr std::chrono::microseconds answerTime = 25s;

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* colorScheme = "color-scheme";
constexpr const char* settingChanges =
    "type='signal',sender='org.freedesktop.portal.Desktop',path='/org/freedesktop/portal/desktop',"
    "interface='org.freedesktop.portal.Settings',member='SettingChanged',arg0='org.freedesktop.appearance',"
    "arg1='color-scheme'";

std::optional<Appearance> appearanceNumbered(std::uint32_t scheme) {
  switch (scheme) {
    case 1:
      return Appearance::dark;
    case 2:
      return Appearance::light;
    default:
      return std::nullopt;
  }
}

}  // namespace

PortalAppearance::PortalAppearance(const std::string& sessionBusAddress, std::function<void()> onChange)
    : onChange_(std::move(onChange)) {
  auto bus = connectedBus(sessionBusAddress, greetingTime);
  if (!bus) return;
  bus_ = std::move(*bus);
  ask();
  awaitFirstAnswer();
  readable_ = std::make_unique<QSocketNotifier>(::sd_bus_get_fd(bus_.get()), QSocketNotifier::Read);
  QObject::connect(readable_.get(), &QSocketNotifier::activated, readable_.get(), [this] { process(); });
}

PortalAppearance::~PortalAppearance() = default;

void PortalAppearance::ask() {
  const auto onSetting = [](sd_bus_message* message, void* self, sd_bus_error*) {
    if (::sd_bus_message_skip(message, "ss") >= 0) static_cast<PortalAppearance*>(self)->take(message);
    return 0;
  };
  const auto onAnswer = [](sd_bus_message* message, void* self, sd_bus_error*) {
    static_cast<PortalAppearance*>(self)->take(message);
    return 0;
  };
  // First the changes, then the state: nothing can fall between.
  sd_bus_slot* slot = nullptr;
  if (::sd_bus_add_match_async(bus_.get(), &slot, settingChanges, onSetting, nullptr, this) >= 0) changes_.reset(slot);
  sd_bus_message* made = nullptr;
  if (::sd_bus_message_new_method_call(bus_.get(), &made, portal, "/org/freedesktop/portal/desktop", settings, "Read") <
      0)
    return;
  const SdBusMessageHandle message(made);
  ::sd_bus_message_append(message.get(), "ss", appearance, colorScheme);
  if (::sd_bus_call_async(bus_.get(), &slot, message.get(), onAnswer, this,
                          static_cast<std::uint64_t>(answerTime.count())) >= 0)
    question_.reset(slot);
}

void PortalAppearance::awaitFirstAnswer() {
  const auto deadline = std::chrono::steady_clock::now() + firstAnswerTime;
  while (question_ && !isAnswered_) {
    const int result = ::sd_bus_process(bus_.get(), nullptr);
    if (result < 0) return;
    if (result > 0) continue;
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
    if (left <= 0us || ::sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(left.count())) < 0) return;
  }
}

void PortalAppearance::process() {
  int result = 0;
  do
    result = ::sd_bus_process(bus_.get(), nullptr);
  while (result > 0);
  if (result < 0) readable_->setEnabled(false);  // the session bus is gone, and with it the session
}

void PortalAppearance::take(sd_bus_message* value) {
  isAnswered_ = true;
  if (::sd_bus_message_is_method_error(value, nullptr) > 0) return;
  // A setting comes as a variant, and older calls wrap that in another one.
  std::uint32_t scheme = 0;
  const char* contents = nullptr;
  char type = 0;
  if (::sd_bus_message_peek_type(value, &type, &contents) <= 0 || type != SD_BUS_TYPE_VARIANT) return;
  const bool isWrapped = std::string_view(contents) == "v";
  const int result = isWrapped ? ::sd_bus_message_read(value, "v", "v", "u", &scheme)
                               : ::sd_bus_message_read(value, "v", "u", &scheme);
  if (result <= 0) return;
  const auto preferred = appearanceNumbered(scheme);
  if (preferred == preferred_) return;
  preferred_ = preferred;
  if (readable_) onChange_();
}

}  // namespace tallyfox::linux_os
