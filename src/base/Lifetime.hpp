#pragma once

#include <memory>
#include <utility>

namespace tallyfox {

/// Lets callbacks outlive the object that they serve: a guarded callback does nothing once its owner's Lifetime is
/// gone. Owner and guarded callbacks live on one queue. Declare it as the owner's last member, so that it dies first.
class Lifetime {
 public:
  template <typename Callback>
  [[nodiscard]] auto guard(Callback callback) const {
    return [alive = std::weak_ptr<const int>(token_),
            callback = std::move(callback)]<typename... Arguments>(Arguments&&... arguments) mutable {
      if (alive.lock()) callback(std::forward<Arguments>(arguments)...);
    };
  }

 private:
  std::shared_ptr<const int> token_ = std::make_shared<const int>(0);
};

}  // namespace tallyfox
