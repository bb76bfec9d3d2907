#include "platform/macos/MacMainQueue.hpp"

#import <Foundation/Foundation.h>
#include <pthread.h>

#include <utility>

#include "base/DeadlineTimers.hpp"
#include "base/GuardedTask.hpp"
#include "base/PendingTasks.hpp"
#include "base/Require.hpp"
#include "platform/macos/CFRef.hpp"
#include "platform/macos/KqueueAlarm.hpp"

namespace tallyfox::mac_os {

/// Neither blocks of the run loop nor the dispatch queue of the main thread serve here: both keep back what waits
/// behind a task until that task returns, also when it waits in a run loop of its own.
struct MacMainQueue::Impl : std::enable_shared_from_this<Impl> {
  void install();
  void close();
  void runFirst() noexcept;
  void runDueTimers() noexcept;
  void run(Task& task) noexcept;

  static void onSignalled(void* self);
  static void onReadable(CFFileDescriptorRef descriptor, CFOptionFlags kinds, void* self);

  PendingTasks tasks;
  KqueueAlarm alarm;
  std::shared_ptr<DeadlineTimers> timers = std::make_shared<DeadlineTimers>(alarm);
  CFRef<CFRunLoopSourceRef> taskSource;
  CFRef<CFFileDescriptorRef> alarmDescriptor;
};

void MacMainQueue::Impl::install() {
  CFRunLoopSourceContext taskContext = {};
  taskContext.info = this;
  taskContext.perform = &Impl::onSignalled;
  taskSource = CFRef<CFRunLoopSourceRef>::adopt(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &taskContext));
  CFRunLoopAddSource(CFRunLoopGetMain(), taskSource.get(), kCFRunLoopCommonModes);

  CFFileDescriptorContext alarmContext = {};
  alarmContext.info = this;
  alarmDescriptor = CFRef<CFFileDescriptorRef>::adopt(
      CFFileDescriptorCreate(kCFAllocatorDefault, alarm.descriptor(), false, &Impl::onReadable, &alarmContext));
  const auto alarmSource = CFRef<CFRunLoopSourceRef>::adopt(
      CFFileDescriptorCreateRunLoopSource(kCFAllocatorDefault, alarmDescriptor.get(), 0));
  require(taskSource && alarmDescriptor && alarmSource, "the main run loop takes sources");
  CFRunLoopAddSource(CFRunLoopGetMain(), alarmSource.get(), kCFRunLoopCommonModes);
  CFFileDescriptorEnableCallBacks(alarmDescriptor.get(), kCFFileDescriptorReadCallBack);
}

void MacMainQueue::Impl::close() {
  // Also takes them out of the run loop.
  CFRunLoopSourceInvalidate(taskSource.get());
  CFFileDescriptorInvalidate(alarmDescriptor.get());
  tasks.close();
  timers.reset();
}

void MacMainQueue::Impl::onSignalled(void* self) {
  // A task may destroy the queue.
  const auto kept = static_cast<Impl*>(self)->shared_from_this();
  kept->runFirst();
}

void MacMainQueue::Impl::onReadable(CFFileDescriptorRef descriptor, CFOptionFlags /*kinds*/, void* self) {
  const auto kept = static_cast<Impl*>(self)->shared_from_this();
  kept->alarm.acknowledge();
  // Each callback has to be asked for: now, for a timer's task that waits in a run loop of its own, but not while the
  // descriptor is still readable.
  CFFileDescriptorEnableCallBacks(descriptor, kCFFileDescriptorReadCallBack);
  kept->runDueTimers();
}

void MacMainQueue::Impl::runFirst() noexcept {
  auto task = tasks.take();
  if (!task) return;
  // Before the task, for a run loop of its own. The loop is awake and looks at its sources before it sleeps.
  if (!tasks.isEmpty()) CFRunLoopSourceSignal(taskSource.get());
  run(*task);
}

void MacMainQueue::Impl::runDueTimers() noexcept {
  const auto kept = timers;
  if (!kept) return;
  kept->runDue([this](Task& task) {
    run(task);
    return !tasks.isClosed();
  });
}

void MacMainQueue::Impl::run(Task& task) noexcept {
  // AppKit empties its pool with each event only, and tasks run without any.
  @autoreleasepool {
    runGuarded("main", task);
  }
}

MacMainQueue::MacMainQueue() : impl_(std::make_shared<Impl>()) {
  require(isCurrent(), "the main thread makes the main queue");
  impl_->install();
}

MacMainQueue::~MacMainQueue() {
  impl_->close();
}

void MacMainQueue::post(Task task) {
  if (!impl_->tasks.push(std::move(task))) return;
  CFRunLoopSourceSignal(impl_->taskSource.get());
  CFRunLoopWakeUp(CFRunLoopGetMain());
}

ScheduledHandle MacMainQueue::after(Seconds delay, Task task) {
  return impl_->timers->after(delay, std::move(task));
}

ScheduledHandle MacMainQueue::every(Seconds period, std::function<void()> task) {
  return impl_->timers->every(period, std::move(task));
}

bool MacMainQueue::isCurrent() const {
  return pthread_main_np() != 0;
}

}  // namespace tallyfox::mac_os
