#include "platform/linux/TaskLoop.hpp"

#include <fcntl.h>

#include <boost/asio/post.hpp>
#include <utility>

#include "base/GuardedTask.hpp"
#include "base/Require.hpp"

namespace tallyfox::linux_os {

TaskLoop::TaskLoop(std::string label) : label_(std::move(label)), rings_(context_) {
  const int copy = ::fcntl(alarm_.get(), F_DUPFD_CLOEXEC, 0);
  require(copy >= 0, "a timer descriptor can be watched");
  rings_.assign(copy);
  awaitTimers();
}

void TaskLoop::run() {
  context_.run();
}

void TaskLoop::stop() {
  context_.stop();
}

void TaskLoop::runTask(Task& task) const {
  runGuarded(label_, task);
}

void TaskLoop::post(Task task) {
  boost::asio::post(context_, [this, task = std::move(task)]() mutable { runTask(task); });
}

void TaskLoop::awaitTimers() {
  rings_.async_wait(boost::asio::posix::descriptor_base::wait_read, [this](const boost::system::error_code& error) {
    if (error) return;
    timers_->runDue([this](Task& task) {
      if (context_.stopped()) return false;
      runTask(task);
      return !context_.stopped();
    });
    awaitTimers();
  });
}

}  // namespace tallyfox::linux_os
