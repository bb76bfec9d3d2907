#pragma once

#include <functional>

namespace tallyfox::contract {

/// Runs the work on the main thread, whose run loop the program keeps going while the tests have a thread of their own;
/// returns when it is done. Never from inside a task of a main queue that is waited for.
void onMainThread(const std::function<void()>& work);

}  // namespace tallyfox::contract
