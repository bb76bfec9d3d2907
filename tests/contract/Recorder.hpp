#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace tallyfox::contract {

/// What callbacks saw, in order. Backends may call from threads of their own, and late ones after the test: copies
/// share one list.
template <typename Value>
class Recorder {
 public:
  void add(Value value) const {
    const std::scoped_lock lock(shared_->mutex);
    shared_->values.push_back(std::move(value));
  }
  [[nodiscard]] std::vector<Value> all() const {
    const std::scoped_lock lock(shared_->mutex);
    return shared_->values;
  }
  [[nodiscard]] std::size_t size() const { return all().size(); }
  [[nodiscard]] std::size_t count(const Value& value) const {
    const std::vector<Value> values = all();
    return static_cast<std::size_t>(std::ranges::count(values, value));
  }

 private:
  struct Shared {
    std::mutex mutex;
    std::vector<Value> values;
  };
  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace tallyfox::contract
