#include "platform/linux/RunningProcess.hpp"

#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/Text.hpp"

// The header of glibc 2.36 lacks this itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace tallyfox::linux_os {

std::optional<RunningProcess> RunningProcess::open(std::int32_t processIdentifier) {
  if (processIdentifier <= 0) return std::nullopt;
  posix_os::FileDescriptor descriptor(pidfd_open(processIdentifier, 0));
  if (!descriptor) return std::nullopt;
  return RunningProcess(std::move(descriptor));
}

bool RunningProcess::isRunning() const {
  pollfd ending{descriptor_.get(), POLLIN, 0};
  return poll(&ending, 1, 0) == 0;
}

void RunningProcess::requestTermination() const {
  (void)pidfd_send_signal(descriptor_.get(), SIGTERM, nullptr, 0);
}

bool isProcessRunning(std::int32_t processIdentifier) {
  const auto process = RunningProcess::open(processIdentifier);
  return process && process->isRunning();
}

std::string processName(std::int32_t processIdentifier) {
  std::ifstream file(fmt::format("/proc/{}/comm", processIdentifier));
  std::string name;
  std::getline(file, name);
  return repairedUtf8(name);
}

std::optional<std::string> executableName(std::int32_t processIdentifier) {
  std::error_code error;
  std::string name = std::filesystem::read_symlink(fmt::format("/proc/{}/exe", processIdentifier), error).filename();
  if (error) return std::nullopt;
  constexpr std::string_view removed = " (deleted)";
  if (name.ends_with(removed)) name.resize(name.size() - removed.size());
  return name;
}

bool isOwnUsersProcess(std::int32_t processIdentifier) {
  struct stat status{};
  return stat(fmt::format("/proc/{}", processIdentifier).c_str(), &status) == 0 && status.st_uid == getuid();
}

}  // namespace tallyfox::linux_os
