#include "platform/linux/window/QtMainLoop.hpp"

#include <fcntl.h>

#include <QCoreApplication>
#include <QEvent>
#include <QSocketNotifier>
#include <utility>

#include "base/GuardedTask.hpp"
#include "base/Require.hpp"
#include "platform/linux/TerminationSignals.hpp"
#include "platform/posix/FileDescriptor.hpp"

namespace tallyfox::linux_os {
namespace {

class TaskEvent : public QEvent {
 public:
  explicit TaskEvent(Task given) : QEvent(User), task(std::move(given)) {}
  Task task;
};

/// A descriptor and what to call. The callback may end the watch that calls it.
class Watch : public Subscription {
 public:
  Watch(posix_os::FileDescriptor descriptor, std::function<void()> onReadable)
      : state_(std::make_shared<State>(std::move(descriptor), std::move(onReadable))) {
    QObject::connect(&state_->notifier, &QSocketNotifier::activated, [state = std::weak_ptr(state_)] {
      if (const auto kept = state.lock()) kept->onReadable();
    });
  }
  ~Watch() override { state_->notifier.setEnabled(false); }

 private:
  struct State {
    State(posix_os::FileDescriptor watched, std::function<void()> callback)
        : descriptor(std::move(watched)),
          notifier(descriptor.get(), QSocketNotifier::Read),
          onReadable(std::move(callback)) {}
    posix_os::FileDescriptor descriptor;
    QSocketNotifier notifier;
    std::function<void()> onReadable;
  };
  std::shared_ptr<State> state_;
};

struct SignalWatch : Subscription {
  TerminationSignals signals;
  std::unique_ptr<Subscription> readable;
};

}  // namespace

class QtMainLoop::Receiver : public QObject {
 public:
  explicit Receiver(QtMainLoop& loop) : loop_(loop) {}

 protected:
  void customEvent(QEvent* event) override { (void)loop_.runTask(static_cast<TaskEvent*>(event)->task); }

 private:
  QtMainLoop& loop_;
};

QtMainLoop::QtMainLoop() : receiver_(std::make_unique<Receiver>(*this)) {
  require(QCoreApplication::instance() != nullptr, "there is an application object");
  dueTimers_ = watchReadable(alarm_.get(), [this] { timers_->runDue([this](Task& task) { return runTask(task); }); });
}

QtMainLoop::~QtMainLoop() = default;

void QtMainLoop::run() {
  require(isCurrent(), "the main thread runs the main queue");
  if (!isStopped_) QCoreApplication::exec();
  isStopped_ = true;
}

void QtMainLoop::quit() {
  isStopped_ = true;
  // Also from within the loops of menus, and before run() has begun to wait.
  QMetaObject::invokeMethod(receiver_.get(), [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
}

/// False once the loop is to end.
bool QtMainLoop::runTask(Task& task) {
  if (isStopped_) return false;
  runGuarded("main", task);
  return !isStopped_;
}

void QtMainLoop::post(Task task) {
  QCoreApplication::postEvent(receiver_.get(), new TaskEvent(std::move(task)));
}

ScheduledHandle QtMainLoop::after(Seconds delay, Task task) {
  return timers_->after(delay, std::move(task));
}

ScheduledHandle QtMainLoop::every(Seconds period, std::function<void()> task) {
  return timers_->every(period, std::move(task));
}

bool QtMainLoop::isCurrent() const {
  return std::this_thread::get_id() == thread_;
}

std::unique_ptr<Subscription> QtMainLoop::watchReadable(int fd, std::function<void()> onReadable) {
  // The watch works on a copy, so that two watches of one descriptor and the owner's close do not meet.
  posix_os::FileDescriptor copy(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
  require(static_cast<bool>(copy), "a watched descriptor is open");
  return std::make_unique<Watch>(std::move(copy), [this, onReadable = std::move(onReadable)] {
    Task task = std::ref(onReadable);
    (void)runTask(task);
  });
}

std::unique_ptr<Subscription> QtMainLoop::watchTerminationSignals(std::function<void()> onTerminate) {
  auto watch = std::make_unique<SignalWatch>();
  watch->readable =
      watchReadable(watch->signals.descriptor(), [&signals = watch->signals, onTerminate = std::move(onTerminate)] {
        for (int count = signals.take(); count > 0; --count)
          onTerminate();
      });
  return watch;
}

}  // namespace tallyfox::linux_os
