#include "contract/macos/StageProcess.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <crt_externs.h>

#include <array>
#include <cerrno>
#include <sstream>
#include <stdexcept>

namespace tallyfox::contract {
namespace {

std::array<posix_os::FileDescriptor, 2> madePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("there is no pipe");
  return {posix_os::FileDescriptor(ends[0]), posix_os::FileDescriptor(ends[1])};
}

}  // namespace

StageProcess::StageProcess(StageKind kind) : kind_(kind) {
  auto commands = madePipe();
  auto answers = madePipe();
  posix_spawnattr_t attributes = nullptr;
  posix_spawn_file_actions_t actions = nullptr;
  ::posix_spawnattr_init(&attributes);
  ::posix_spawn_file_actions_init(&actions);
  // Else another program on the stage would hold this one's pipes open.
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_CLOEXEC_DEFAULT);
  ::posix_spawn_file_actions_adddup2(&actions, commands[0].get(), STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, answers[1].get(), STDOUT_FILENO);
  ::posix_spawn_file_actions_addinherit_np(&actions, STDERR_FILENO);

  std::string path = kind == StageKind::bare ? TALLYFOX_STAGE_BARE : TALLYFOX_STAGE_BUNDLED;
  std::string option = kind == StageKind::background ? "--background" : "--regular";
  std::array<char*, 3> arguments{path.data(), option.data(), nullptr};
  const int error = ::posix_spawn(&pid_, path.c_str(), &actions, &attributes, arguments.data(), *::_NSGetEnviron());
  ::posix_spawn_file_actions_destroy(&actions);
  ::posix_spawnattr_destroy(&attributes);
  if (error != 0) throw std::runtime_error("the stage does not start: " + path);
  commands_ = std::move(commands[1]);
  answers_ = std::move(answers[0]);
  // What waits for its end sees it only when no copy of its end is left here.
  answers[1] = {};
  EXPECT_EQ(readLine(), "ready");
}

StageProcess::~StageProcess() {
  kill();
}

std::vector<std::string> StageProcess::ask(const std::vector<std::string>& command) {
  std::string line;
  for (const std::string& field : command)
    line += (line.empty() ? "" : "\t") + field;
  line += '\n';
  if (::write(commands_.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    ADD_FAILURE() << "The stage does not listen to: " << line;
    return {};
  }
  std::istringstream answer(readLine());
  std::vector<std::string> fields;
  for (std::string field; std::getline(answer, field, '\t');)
    fields.push_back(std::move(field));
  if (fields.empty() || fields.front() != "ok") {
    ADD_FAILURE() << "The stage answers \"" << answer.str() << "\" to: " << line;
    return {};
  }
  fields.erase(fields.begin());
  return fields;
}

std::string StageProcess::readLine() {
  constexpr int atMostMilliseconds = 30'000;
  for (;;) {
    if (const auto end = unread_.find('\n'); end != std::string::npos) {
      std::string line = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      return line;
    }
    pollfd waiting{.fd = answers_.get(), .events = POLLIN, .revents = 0};
    if (::poll(&waiting, 1, atMostMilliseconds) <= 0) return "(nothing)";
    std::array<char, 4096> part{};
    const ssize_t count = ::read(answers_.get(), part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return "(the end)";
    unread_.append(part.data(), static_cast<std::size_t>(count));
  }
}

bool StageProcess::isRunning() {
  if (!hasEnded_ && ::waitpid(pid_, nullptr, WNOHANG) != 0) hasEnded_ = true;
  return !hasEnded_;
}

void StageProcess::kill() {
  if (!isRunning()) return;
  ::kill(pid_, SIGKILL);
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  hasEnded_ = true;
}

}  // namespace tallyfox::contract
