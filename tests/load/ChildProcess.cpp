#include "ChildProcess.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace tallyfox::load {

ChildProcess::ChildProcess(std::vector<std::string> arguments, const std::string& log) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments)
    pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  const int failed = posix_spawnp(&pid_, pointers.front(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("unable to start " + arguments.front());
}

ChildProcess::ChildProcess(const std::function<void(int ready)>& work) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("no process");
  if (pid_ == 0) {
    close(ends[0]);
    work(ends[1]);
    _exit(0);
  }
  close(ends[1]);
  ready_ = ends[0];
}

ChildProcess::~ChildProcess() {
  stop(true);
  if (ready_ >= 0) close(ready_);
}

std::string ChildProcess::ready() const {
  std::string line;
  char character = 0;
  while (read(ready_, &character, 1) == 1 && character != '\n')
    line += character;
  return line;
}

void ChildProcess::stop(bool kill) {
  if (pid_ <= 0) return;
  ::kill(pid_, kill ? SIGKILL : SIGTERM);
  waitpid(std::exchange(pid_, -1), nullptr, 0);
}

std::size_t ChildProcess::residentBytes() const {
  std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("RssAnon:")) return std::stoul(line.substr(8)) * 1024;
  }
  throw std::runtime_error("the server has ended");
}

std::size_t ChildProcess::openDescriptors() const {
  const std::filesystem::directory_iterator all("/proc/" + std::to_string(pid_) + "/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

double ChildProcess::processorSeconds() const {
  std::ifstream file("/proc/" + std::to_string(pid_) + "/stat");
  std::string text;
  std::getline(file, text);
  // After the name, which may hold anything: user and system time are the 12th and 13th.
  std::size_t at = text.rfind(')') + 1;
  double ticks = 0;
  for (int field = 0; field < 13; ++field) {
    const std::size_t end = text.find(' ', at + 1);
    if (field >= 11) ticks += std::stod(text.substr(at, end - at));
    at = end;
  }
  return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

unsigned freePort() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                     getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  close(probe);
  if (!bound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

}  // namespace tallyfox::load
