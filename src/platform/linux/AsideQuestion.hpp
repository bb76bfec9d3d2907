#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/WorkerThread.hpp"

namespace tallyfox::linux_os {

/// A question that may never be answered, asked on a thread of its own: a name look-up and the greeting of an X server
/// cannot be called off. Whoever waits no longer leaves the thread behind, so `ask` refers to nothing but its own
/// copies.
template <typename Answer>
class AsideQuestion {
 public:
  AsideQuestion(const std::string& name, std::function<Answer()> ask) {
    auto task = std::make_shared<std::packaged_task<Answer()>>(std::move(ask));
    answer_ = task->get_future();
    startWorkerThread(name, [task] { (*task)(); }).detach();
  }

  /// The answer, once; absent when it has not come until then.
  [[nodiscard]] std::optional<Answer> answerBy(std::chrono::steady_clock::time_point deadline) {
    if (answer_.wait_until(deadline) != std::future_status::ready) return std::nullopt;
    return answer_.get();
  }

 private:
  std::future<Answer> answer_;
};

}  // namespace tallyfox::linux_os
