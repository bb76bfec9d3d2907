#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace tallyfox::mac_os {

/// Numbers that stand for objects where a C function takes a pointer for its callback. A pointer that comes back late
/// may lead nowhere; a number names its object or nobody, and none is given twice. Any thread.
template <typename T>
class CallbackTokens {
 public:
  /// Never null.
  [[nodiscard]] void* add(std::weak_ptr<T> object) {
    const std::scoped_lock lock(mutex_);
    objects_.emplace(++last_, std::move(object));
    return reinterpret_cast<void*>(last_);
  }
  void remove(void* token) {
    const std::scoped_lock lock(mutex_);
    objects_.erase(reinterpret_cast<std::uintptr_t>(token));
  }
  /// Null when the object is gone or was removed.
  [[nodiscard]] std::shared_ptr<T> find(void* token) const {
    const std::scoped_lock lock(mutex_);
    const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(token));
    return found == objects_.end() ? nullptr : found->second.lock();
  }

 private:
  mutable std::mutex mutex_;
  std::uintptr_t last_ = 0;
  std::map<std::uintptr_t, std::weak_ptr<T>> objects_;
};

}  // namespace tallyfox::mac_os
