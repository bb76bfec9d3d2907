#include "platform/linux/ProgramLauncher.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>

#include "platform/linux/WorkerThread.hpp"

namespace tallyfox::linux_os {
namespace {

/// How a program starts that is to have nothing of ours.
class CleanStart {
 public:
  CleanStart() {
    ::posix_spawn_file_actions_init(&files_);
    ::posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
      ::posix_spawn_file_actions_addopen(&files_, output, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&files_, STDERR_FILENO + 1);
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::posix_spawnattr_setflags(&attributes_,
                               POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | static_cast<short>(POSIX_SPAWN_SETSID));
  }
  ~CleanStart() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&files_);
  }
  CleanStart(const CleanStart&) = delete;
  CleanStart& operator=(const CleanStart&) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t* files() const { return &files_; }
  [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

bool isProgram(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

/// Takes notice of the end of a child, whenever that comes, so that it does not stay as a zombie.
void awaitEnd(pid_t child) {
  startWorkerThread("launched", [child] {
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
  }).detach();
}

}  // namespace

ProgramLauncher::ProgramLauncher(std::string_view searchPath) {
  while (!searchPath.empty()) {
    const std::size_t end = std::min(searchPath.find(':'), searchPath.size());
    if (searchPath.starts_with('/')) folders_.emplace_back(searchPath.substr(0, end));
    searchPath.remove_prefix(std::min(end + 1, searchPath.size()));
  }
}

std::optional<std::string> ProgramLauncher::pathOf(const std::string& name) const {
  if (name.empty() || name.find('/') != std::string::npos) return std::nullopt;
  for (const std::string& folder : folders_)
    if (std::string path = folder + "/" + name; isProgram(path)) return path;
  return std::nullopt;
}

bool ProgramLauncher::start(const std::vector<std::string>& command) const {
  const auto path = command.empty() ? std::nullopt : pathOf(command.front());
  if (!path) return false;
  std::vector<std::string> words = command;
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const CleanStart start;
  pid_t child = -1;
  if (::posix_spawn(&child, path->c_str(), start.files(), start.attributes(), arguments.data(), environ) != 0)
    return false;
  awaitEnd(child);
  return true;
}

}  // namespace tallyfox::linux_os
