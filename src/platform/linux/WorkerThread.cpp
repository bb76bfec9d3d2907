#include "platform/linux/WorkerThread.hpp"

#include <pthread.h>
#include <csignal>

namespace tallyfox::linux_os {

std::thread startWorkerThread(const std::string& name, std::function<void()> body) {
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_BLOCK, &all, &before);
  std::thread thread(std::move(body));
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  ::pthread_setname_np(thread.native_handle(), name.substr(0, 15).c_str());
  return thread;
}

}  // namespace tallyfox::linux_os
