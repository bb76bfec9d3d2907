#include "platform/linux/ThreadQueue.hpp"

#include "platform/linux/TaskLoop.hpp"
#include "platform/linux/WorkerThread.hpp"

namespace tallyfox::linux_os {

ThreadQueue::ThreadQueue(const std::string& label) : loop_(std::make_shared<TaskLoop>(label)) {
  thread_ = startWorkerThread(label, [loop = loop_] { loop->run(); });
}

ThreadQueue::~ThreadQueue() {
  loop_->stop();
  // The last owner of a queue is often a task of that queue; its thread then ends by itself and drops the rest.
  if (ThreadQueue::isCurrent())
    thread_.detach();
  else
    thread_.join();
}

void ThreadQueue::post(Task task) {
  loop_->post(std::move(task));
}

ScheduledHandle ThreadQueue::after(Seconds delay, Task task) {
  return loop_->after(delay, std::move(task));
}

ScheduledHandle ThreadQueue::every(Seconds period, std::function<void()> task) {
  return loop_->every(period, std::move(task));
}

bool ThreadQueue::isCurrent() const {
  return std::this_thread::get_id() == thread_.get_id();
}

}  // namespace tallyfox::linux_os
