#include "contract/macos/MainThread.hpp"

#include <dispatch/dispatch.h>
#include <pthread.h>

namespace tallyfox::contract {

void onMainThread(const std::function<void()>& work) {
  if (pthread_main_np() != 0) return work();
  const auto call = [](void* context) { (*static_cast<const std::function<void()>*>(context))(); };
  ::dispatch_sync_f(::dispatch_get_main_queue(), const_cast<std::function<void()>*>(&work), call);
}

}  // namespace tallyfox::contract
