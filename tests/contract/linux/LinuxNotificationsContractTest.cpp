// Shows that notifications through a desktop's notification server keep to what the seam promises.

#include <future>

#include "contract/UserNotificationsContract.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/NotificationServer.hpp"
#include "platform/linux/DesktopNotifications.hpp"

namespace tallyfox::contract {
namespace {

class DesktopNotificationsBackend {
 public:
  ~DesktopNotificationsBackend() {
    onMain([this] { notifications_.reset(); });
  }
  UserNotifications& notifications() { return *notifications_; }
  SerialQueue& mainQueue() { return mainQueue_; }
  void onMain(const std::function<void()>& work) {
    std::promise<void> done;
    mainQueue_.post([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }
  bool waitUntil(const std::function<bool()>& condition) { return testing_network::waitUntil(condition); }
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> shown() const {
    std::vector<std::pair<std::string, std::string>> shown;
    if (server_)
      for (const ShownNotification& notification : server_->shown())
        shown.emplace_back(notification.title, notification.body);
    return shown;
  }
  void removeService() { server_.reset(); }
  /// The desktop asks nobody.
  bool decline() { return false; }

 private:
  PrivateBus bus_;
  std::unique_ptr<NotificationServer> server_ = std::make_unique<NotificationServer>(bus_, false);
  linux_os::ThreadQueue mainQueue_{"main"};
  std::unique_ptr<linux_os::DesktopNotifications> notifications_ =
      std::make_unique<linux_os::DesktopNotifications>(mainQueue_, bus_.address());
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, UserNotificationsContract, DesktopNotificationsBackend);

}  // namespace
}  // namespace tallyfox::contract
