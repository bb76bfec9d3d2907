#include "platform/macos/MacSerialQueue.hpp"

#import <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

#include <utility>

#include "base/DeadlineTimers.hpp"
#include "base/GuardedTask.hpp"
#include "base/PendingTasks.hpp"
#include "base/Require.hpp"
#include "platform/macos/KqueueAlarm.hpp"

namespace tallyfox::mac_os {
namespace {

/// Its address is the key under which a dispatch queue keeps whose it is.
constexpr char ownerKey = 0;

dispatch_queue_t newDispatchQueue(const std::string& label) {
  dispatch_queue_attr_t attributes =
      dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_UTILITY, 0);
  return dispatch_queue_create(label.c_str(), attributes);
}

}  // namespace

/// Outlives the queue by what the system still holds of it; does nothing more once closed.
struct MacSerialQueue::Impl {
  explicit Impl(std::string name) : label(std::move(name)), queue(newDispatchQueue(label)) {}

  static void watchAlarm(const std::shared_ptr<Impl>& self);
  void runFirst() noexcept;
  void runDueTimers() noexcept;
  void run(Task& task) noexcept;

  const std::string label;
  PendingTasks tasks;
  KqueueAlarm alarm;
  std::shared_ptr<DeadlineTimers> timers = std::make_shared<DeadlineTimers>(alarm);
  dispatch_queue_t queue;
  dispatch_source_t alarmSource = nil;
};

/// The source holds the alarm whose descriptor it watches, until it is cancelled and has let go of it.
void MacSerialQueue::Impl::watchAlarm(const std::shared_ptr<Impl>& self) {
  const std::shared_ptr<Impl> kept = self;
  dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_READ,
                                                    static_cast<uintptr_t>(self->alarm.descriptor()), 0, self->queue);
  require(source != nil, "a dispatch queue can watch a descriptor");
  dispatch_source_set_event_handler(source, ^{
    kept->runDueTimers();
  });
  dispatch_source_set_cancel_handler(source, ^{
    (void)kept;
  });
  self->alarmSource = source;
  dispatch_activate(source);
}

void MacSerialQueue::Impl::runFirst() noexcept {
  if (auto task = tasks.take()) run(*task);
}

void MacSerialQueue::Impl::runDueTimers() noexcept {
  if (tasks.isClosed()) return;
  const auto kept = timers;
  kept->runDue([this](Task& task) {
    run(task);
    return !tasks.isClosed();
  });
}

void MacSerialQueue::Impl::run(Task& task) noexcept {
  if (tasks.isClosed()) return;
  @autoreleasepool {
    runGuarded(label, task);
  }
}

MacSerialQueue::MacSerialQueue(std::string label) : impl_(std::make_shared<Impl>(std::move(label))) {
  dispatch_queue_set_specific(impl_->queue, &ownerKey, impl_.get(), nullptr);
  Impl::watchAlarm(impl_);
}

MacSerialQueue::~MacSerialQueue() {
  impl_->tasks.close();
  dispatch_source_cancel(impl_->alarmSource);
  // The last owner of a queue is often a task of that queue.
  if (!MacSerialQueue::isCurrent())
    dispatch_sync(impl_->queue, ^{
                  });
  impl_->timers.reset();
}

void MacSerialQueue::post(Task task) {
  const std::shared_ptr<Impl> impl = impl_;
  impl->tasks.push(std::move(task));
  dispatch_async(impl->queue, ^{
    impl->runFirst();
  });
}

ScheduledHandle MacSerialQueue::after(Seconds delay, Task task) {
  return impl_->timers->after(delay, std::move(task));
}

ScheduledHandle MacSerialQueue::every(Seconds period, std::function<void()> task) {
  return impl_->timers->every(period, std::move(task));
}

bool MacSerialQueue::isCurrent() const {
  return dispatch_get_specific(&ownerKey) == impl_.get();
}

}  // namespace tallyfox::mac_os
