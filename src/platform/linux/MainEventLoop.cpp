#include "platform/linux/MainEventLoop.hpp"

#include <fcntl.h>

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>

#include "base/Require.hpp"
#include "platform/linux/TaskLoop.hpp"

namespace tallyfox::linux_os {
namespace {

/// A source of events and what to call; kept by its pending wait, silenced by its subscription.
template <typename Source>
struct Watch : std::enable_shared_from_this<Watch<Source>> {
  template <typename... SourceArguments>
  Watch(TaskLoop& owner, std::function<void()> callback, SourceArguments... sourceArguments)
      : loop(owner), source(owner.context(), sourceArguments...), task(std::move(callback)) {}

  template <typename Wait>
  void await(Wait wait) {
    wait(source, [self = this->shared_from_this(), wait](const boost::system::error_code& error, auto&&...) {
      if (error || !self->isActive) return;
      Task call = [&self] { self->task(); };
      self->loop.runTask(call);
      if (self->isActive) self->await(wait);
    });
  }

  TaskLoop& loop;
  Source source;
  std::function<void()> task;
  bool isActive = true;
};

template <typename Source>
class WatchSubscription : public Subscription {
 public:
  WatchSubscription(std::shared_ptr<TaskLoop> loop, std::shared_ptr<Watch<Source>> watch)
      : loop_(std::move(loop)), watch_(std::move(watch)) {}
  ~WatchSubscription() override {
    watch_->isActive = false;
    boost::system::error_code ignored;
    watch_->source.cancel(ignored);
  }

 private:
  std::shared_ptr<TaskLoop> loop_;  // the source needs its loop, also when the queue itself is gone
  std::shared_ptr<Watch<Source>> watch_;
};

}  // namespace

MainEventLoop::MainEventLoop() : loop_(std::make_shared<TaskLoop>("main")) {}

MainEventLoop::~MainEventLoop() = default;

void MainEventLoop::run() {
  require(isCurrent(), "the main thread runs the main queue");
  loop_->run();
}

void MainEventLoop::quit() {
  loop_->stop();
}

void MainEventLoop::post(Task task) {
  loop_->post(std::move(task));
}

ScheduledHandle MainEventLoop::after(Seconds delay, Task task) {
  return loop_->after(delay, std::move(task));
}

ScheduledHandle MainEventLoop::every(Seconds period, std::function<void()> task) {
  return loop_->every(period, std::move(task));
}

bool MainEventLoop::isCurrent() const {
  return std::this_thread::get_id() == thread_;
}

std::unique_ptr<Subscription> MainEventLoop::watchReadable(int fd, std::function<void()> onReadable) {
  using Descriptor = boost::asio::posix::stream_descriptor;
  // The watch works on a copy, so that two watches of one descriptor and the owner's close do not meet.
  const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
  require(copy >= 0, "a watched descriptor is open");
  auto watch = std::make_shared<Watch<Descriptor>>(*loop_, std::move(onReadable), copy);
  watch->await(
      [](Descriptor& descriptor, auto handler) { descriptor.async_wait(Descriptor::wait_read, std::move(handler)); });
  return std::make_unique<WatchSubscription<Descriptor>>(loop_, std::move(watch));
}

std::unique_ptr<Subscription> MainEventLoop::watchTerminationSignals(std::function<void()> onTerminate) {
  using Signals = boost::asio::signal_set;
  auto watch = std::make_shared<Watch<Signals>>(*loop_, std::move(onTerminate), SIGINT, SIGTERM);
  watch->await([](Signals& signals, auto handler) { signals.async_wait(std::move(handler)); });
  return std::make_unique<WatchSubscription<Signals>>(loop_, std::move(watch));
}

}  // namespace tallyfox::linux_os
