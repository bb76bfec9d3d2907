// The order of start and stop, as the outside sees it: others are asked to quit before the lock is tried, nothing is
// registered or connected before it is held, and it is let go last.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/AgentWorld.hpp"
#include "app/AppDelegate.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;

using Log = std::vector<std::string>;

class LoggedLock : public InstanceLock {
 public:
  LoggedLock(Log& log, AgentWorld& world) : log_(log), world_(world) {}
  LockResult acquire(const std::string& fileName) override {
    for (const std::string& deed : world_.desktop.deeds())
      log_.push_back(deed);
    log_.emplace_back("lock");
    LockResult result = world_.instanceLock.acquire(fileName);
    result.lock = std::make_unique<Held>(*this, std::move(result.lock));
    return result;
  }

 private:
  class Held : public HeldLock {
   public:
    Held(LoggedLock& of, std::unique_ptr<HeldLock> lock) : of_(of), lock_(std::move(lock)) {}
    ~Held() override {
      // The farewell to the relay is on its way by then; it travels on a queue of its own.
      of_.world_.time.runDue();
      of_.log_.emplace_back(of_.world_.network.sockets().at(0).isCancelled ? "disconnected" : "still connected");
      of_.log_.emplace_back("unlock");
    }

   private:
    LoggedLock& of_;
    std::unique_ptr<HeldLock> lock_;
  };
  Log& log_;
  AgentWorld& world_;
};

class LoggedObservers : public AccessibilityObservers {
 public:
  LoggedObservers(Log& log, AccessibilityObservers& inner) : log_(log), inner_(inner) {}
  std::expected<std::unique_ptr<Subscription>, AXError> observe(
      std::int32_t pid, const std::vector<std::string>& notifications,
      std::function<void(const std::string& notification)> onNotification) override {
    return inner_.observe(pid, notifications, std::move(onNotification));
  }
  std::unique_ptr<Subscription> observeTrustChanges(std::function<void()> onChange) override {
    log_.emplace_back("observe the permission");
    return inner_.observeTrustChanges(std::move(onChange));
  }

 private:
  Log& log_;
  AccessibilityObservers& inner_;
};

class LoggedHttp : public HttpClient {
 public:
  LoggedHttp(Log& log, HttpClient& inner) : log_(log), inner_(inner) {}
  std::unique_ptr<HttpExchange> send(
      const HttpRequest& request,
      std::function<void(std::expected<HttpResponse, TransportError>)> completion) override {
    log_.emplace_back("register the token");
    return inner_.send(request, std::move(completion));
  }

 private:
  Log& log_;
  HttpClient& inner_;
};

class LoggedNotifications : public UserNotifications {
 public:
  explicit LoggedNotifications(Log& log) : log_(log) {}
  void requestAuthorization(std::function<void(std::expected<bool, std::string>)> /*completion*/) override {
    log_.emplace_back("ask for notifications");
  }
  void add(const UserNotification& /*notification*/) override {}

 private:
  Log& log_;
};

class LoggedLoginItem : public LoginItemService {
 public:
  explicit LoggedLoginItem(Log& log) : log_(log) {}
  LoginItemServiceStatus status() override { return LoginItemServiceStatus::enabled; }
  std::expected<void, std::string> registerItem() override {
    log_.emplace_back("register the login item");
    return {};
  }

 private:
  Log& log_;
};

class LoggedInterface : public AgentInterface {
 public:
  explicit LoggedInterface(Log& log) : log_(log) {}
  void configureMenus() override { log_.emplace_back("menus"); }
  void enableCheckForUpdates(bool /*enabled*/) override {}
  void showStatusWindow() override { log_.emplace_back("status window"); }
  void refreshStatusWindow() override {}
  void showPendingCount(std::int64_t /*count*/) override {}

 private:
  Log& log_;
};

class LoggedQueue : public SerialQueue {
 public:
  LoggedQueue(Log& log, SerialQueue& inner) : log_(log), inner_(inner) {}
  void post(Task task) override {
    log_.emplace_back("scan");
    inner_.post(std::move(task));
  }
  ScheduledHandle after(Seconds delay, Task task) override { return inner_.after(delay, std::move(task)); }
  ScheduledHandle every(Seconds period, std::function<void()> task) override {
    return inner_.every(period, std::move(task));
  }
  [[nodiscard]] bool isCurrent() const override { return inner_.isCurrent(); }

 private:
  Log& log_;
  SerialQueue& inner_;
};

TEST(AgentOrder, startsAndStopsInAFixedOrder) {
  Log log;
  AgentWorld world;
  world.network.answerAll(HttpResponse{204});
  const auto current = world.desktop.launch("Tallyfox", "com.tallyfox.agent");
  const auto older = world.desktop.launch("Quarrystone", "com.quarrystone.agent");
  LoggedLock lock(log, world);
  LoggedObservers observers(log, world.desktop.observers());
  LoggedHttp http(log, world.network.http());
  LoggedNotifications notifications(log);
  LoggedLoginItem loginItem(log);
  LoggedInterface interface(log);
  LoggedQueue scanQueue(log, *world.scanQueue);
  AppDelegate agent(world.platform({.scanQueue = &scanQueue,
                                    .observers = &observers,
                                    .http = &http,
                                    .instanceLock = &lock,
                                    .notifications = &notifications,
                                    .loginItemService = &loginItem}),
                    interface);
  EXPECT_THAT(log, ElementsAre()) << "making the agent does nothing yet";

  agent.applicationDidFinishLaunching();
  world.time.advance(Seconds(0.3));
  EXPECT_THAT(log, ElementsAre("terminate pid " + std::to_string(older), "terminate pid " + std::to_string(current),
                               "lock", "menus", "observe the permission", "register the login item",
                               "register the token", "ask for notifications", "status window", "scan"));

  log.clear();
  agent.applicationWillTerminate();
  world.time.runDue();
  EXPECT_THAT(log, ElementsAre("disconnected", "unlock"));
  world.time.advance(Seconds(400));
  EXPECT_THAT(log, ElementsAre("disconnected", "unlock")) << "nothing goes on";
}

}  // namespace
}  // namespace tallyfox
