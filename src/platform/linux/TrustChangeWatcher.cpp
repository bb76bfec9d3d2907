#include "platform/linux/TrustChangeWatcher.hpp"

#include <map>

namespace tallyfox::linux_os {
namespace {

constexpr std::chrono::milliseconds greetingTime{1000};
constexpr const char* statusChanges =
    "type='signal',sender='org.a11y.Bus',path='/org/a11y/bus',interface='org.freedesktop.DBus.Properties',"
    "member='PropertiesChanged',arg0='org.a11y.Status'";

}  // namespace

struct TrustChangeWatcher::Subscribers {
  /// Each by its own number; callbacks may end any subscription, also their own.
  std::map<int, std::function<void()>> callbacks;
  int next = 0;

  void tell() const {
    const auto present = callbacks;
    for (const auto& [number, callback] : present)
      if (callbacks.contains(number)) callback();
  }
};

TrustChangeWatcher::TrustChangeWatcher(const std::string& sessionBusAddress, FileDescriptorWatcher& watcher)
    : subscribers_(std::make_shared<Subscribers>()) {
  auto bus = connectedBus(sessionBusAddress, greetingTime);
  if (!bus) return;
  bus_ = std::move(*bus);
  const auto onSignal = [](sd_bus_message*, void* subscribers, sd_bus_error*) {
    static_cast<const Subscribers*>(subscribers)->tell();
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (::sd_bus_add_match_async(bus_.get(), &slot, statusChanges, onSignal, nullptr, subscribers_.get()) < 0) return;
  match_.reset(slot);
  ::sd_bus_flush(bus_.get());
  watch_ = watcher.watchReadable(::sd_bus_get_fd(bus_.get()), [this] { onReadable(); });
}

TrustChangeWatcher::~TrustChangeWatcher() = default;

void TrustChangeWatcher::onReadable() {
  int result = 0;
  do
    result = ::sd_bus_process(bus_.get(), nullptr);
  while (result > 0);
  if (result < 0) watch_.reset();  // the session bus is gone, and with it the session
}

std::unique_ptr<Subscription> TrustChangeWatcher::subscribe(std::function<void()> onChange) {
  class Registration : public Subscription {
   public:
    Registration(std::shared_ptr<Subscribers> subscribers, int number)
        : subscribers_(std::move(subscribers)), number_(number) {}
    ~Registration() override { subscribers_->callbacks.erase(number_); }

   private:
    std::shared_ptr<Subscribers> subscribers_;
    int number_;
  };
  const int number = subscribers_->next++;
  subscribers_->callbacks.emplace(number, std::move(onChange));
  return std::make_unique<Registration>(subscribers_, number);
}

}  // namespace tallyfox::linux_os
