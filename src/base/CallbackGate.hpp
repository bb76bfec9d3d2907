#pragma once

#include <mutex>
#include <utility>

namespace tallyfox {

/// Lets an owner on any thread end the callbacks of another thread: when close() returns, none is running (unless it is
/// the one that closes) and none will run.
class CallbackGate {
 public:
  template <typename Callback, typename... Arguments>
  void call(Callback& callback, Arguments&&... arguments) {
    const std::scoped_lock lock(mutex_);
    if (isOpen_ && callback) callback(std::forward<Arguments>(arguments)...);
  }

  void close() {
    const std::scoped_lock lock(mutex_);
    isOpen_ = false;
  }

 private:
  std::recursive_mutex mutex_;  // a callback may destroy the owner
  bool isOpen_ = true;
};

}  // namespace tallyfox
