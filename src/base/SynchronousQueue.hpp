#pragma once

#include <mutex>
#include <string>
#include <utility>

namespace tallyfox {

/// The private queue of a store: every operation enters it synchronously and one at a time, from any thread. Not
/// re-entrant: an operation never calls back into its store.
class SynchronousQueue {
 public:
  explicit SynchronousQueue(std::string label) : label_(std::move(label)) {}

  template <typename Operation>
  decltype(auto) sync(Operation&& operation) const {
    const std::scoped_lock lock(mutex_);
    return std::forward<Operation>(operation)();
  }

  [[nodiscard]] const std::string& label() const { return label_; }

 private:
  std::string label_;
  mutable std::mutex mutex_;
};

}  // namespace tallyfox
