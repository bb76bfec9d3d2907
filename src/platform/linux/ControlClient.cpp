#include "platform/linux/ControlClient.hpp"

#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>

#include "base/Limits.hpp"
#include "platform/linux/ControlSocket.hpp"

namespace tallyfox::linux_os {
namespace {

/// Lets every connect, send and receive on the socket fail that takes longer.
void boundWaits(int socket, Seconds patience) {
  const double whole = std::floor(patience.count());
  timeval limit{};
  limit.tv_sec = static_cast<time_t>(whole);
  limit.tv_usec = static_cast<suseconds_t>((patience.count() - whole) * 1e6);
  ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

}  // namespace

std::expected<ControlClient, ControlFailure> ControlClient::connected(const UserDirectories& directories,
                                                                      Seconds patience) {
  const auto directory = controlDirectory(directories, false);
  posix_os::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!directory || !socket) return std::unexpected(ControlFailure::noAgent);
  boundWaits(socket.get(), patience);
  const sockaddr_un address = socketAddress(*directory, controlSocketName);
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    // A listener whose queue is full is there all the same.
    return std::unexpected(errno == EAGAIN ? ControlFailure::noAnswer : ControlFailure::noAgent);
  const auto peer = peerCredentials(socket.get());
  if (!peer || peer->uid != ::geteuid()) return std::unexpected(ControlFailure::noAgent);
  return ControlClient(std::move(socket), RunningProcess::open(peer->pid), patience);
}

std::expected<std::string, ControlFailure> ControlClient::ask(std::string_view line) {
  const std::string request = std::string(line) + '\n';
  if (::send(socket_.get(), request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
    return std::unexpected(ControlFailure::noAnswer);
  std::string answer;
  std::array<char, 4096> buffer{};
  while (answer.size() <= limits::controlAnswerBytes) {
    const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
    if (count <= 0) break;
    answer.append(buffer.data(), static_cast<std::size_t>(count));
    if (const std::size_t end = answer.find('\n'); end != std::string::npos) return answer.substr(0, end);
  }
  return std::unexpected(ControlFailure::noAnswer);
}

bool ControlClient::waitForAgentsEnd() const {
  if (!agent_) return true;
  pollfd ending{agent_->descriptor(), POLLIN, 0};
  return ::poll(&ending, 1, static_cast<int>(patience_.count() * 1000)) > 0;
}

}  // namespace tallyfox::linux_os
