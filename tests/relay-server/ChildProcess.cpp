#include "ChildProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace tallyfox::server::testing {

PipeReader::PipeReader() {
  if (pipe2(ends_, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
}

PipeReader::~PipeReader() {
  closeWriter();
  close(ends_[0]);
}

void PipeReader::closeWriter() {
  if (ends_[1] >= 0) close(std::exchange(ends_[1], -1));
}

std::string PipeReader::line() {
  std::string text;
  char character = 0;
  pollfd waiting{.fd = ends_[0], .events = POLLIN, .revents = 0};
  while (poll(&waiting, 1, 20'000) > 0 && read(ends_[0], &character, 1) == 1 && character != '\n')
    text += character;
  return text;
}

ChildProcess::ChildProcess(std::vector<std::string> command, const std::string& errorFile) {
  std::vector<char*> pointers;
  for (std::string& argument : command)
    pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output.writer(), STDOUT_FILENO);
  if (errorFile.empty()) {
    posix_spawn_file_actions_adddup2(&actions, errors.writer(), STDERR_FILENO);
  } else {
    constexpr mode_t mine = 0600;
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, mine);
  }
  if (posix_spawnp(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) pid_ = -1;
  posix_spawn_file_actions_destroy(&actions);
  output.closeWriter();
  errors.closeWriter();
}

ChildProcess::~ChildProcess() {
  if (!running()) return;
  signal(SIGKILL);
  static_cast<void>(ended());
}

void ChildProcess::signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::ended() {
  int status = 0;
  waitpid(std::exchange(pid_, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace tallyfox::server::testing
