#pragma once

#include <functional>
#include <string>
#include <thread>

namespace tallyfox::linux_os {

/// A thread named by the first 15 bytes of `name`, with all signals blocked: they are the main thread's.
[[nodiscard]] std::thread startWorkerThread(const std::string& name, std::function<void()> body);

}  // namespace tallyfox::linux_os
