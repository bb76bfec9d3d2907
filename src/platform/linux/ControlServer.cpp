#include "platform/linux/ControlServer.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <utility>

#include "base/Limits.hpp"
#include "base/Require.hpp"
#include "model/ControlAnswer.hpp"
#include "platform/linux/ControlSocket.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int waitingConnections = 16;
constexpr mode_t socketMode = S_IRUSR | S_IWUSR;
/// Until the next try when the process has no descriptor left.
constexpr Seconds reliefDelay{1.0};

std::unexpected<FileError> lastError() {
  return std::unexpected(FileError{errno});
}

std::optional<ino_t> fileNumber(const PrivateDirectory& directory, const std::string& name) {
  struct stat status{};
  if (::fstatat(directory.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return status.st_ino;
}

/// Makes the socket ready under another name, so that under its own name there is always one that answers.
std::expected<ino_t, FileError> putInPlace(const posix_os::FileDescriptor& socket, const PrivateDirectory& directory) {
  const std::string aside = fmt::format(".{}.{}", controlSocketName, ::getpid());
  if (::unlinkat(directory.descriptor(), aside.c_str(), 0) != 0 && errno != ENOENT) return lastError();
  const sockaddr_un address = socketAddress(directory, aside);
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return lastError();
  const auto file = fileNumber(directory, aside);
  const bool isReady = file && ::fchmodat(directory.descriptor(), aside.c_str(), socketMode, 0) == 0 &&
                       ::listen(socket.get(), waitingConnections) == 0;
  const auto renamed = isReady ? directory.rename(aside, controlSocketName) : lastError();
  if (renamed) return *file;
  ::unlinkat(directory.descriptor(), aside.c_str(), 0);
  return std::unexpected(renamed.error());
}

std::string failure(const std::string& sentence) {
  return jsonText(ControlAnswer{.ok = false, .text = sentence, .status = std::nullopt}.json());
}

void send(int socket, std::string answer) {
  require(answer.size() <= limits::controlAnswerBytes, "an answer fits into a local socket");
  answer += '\n';
  // All of it or, to a client that has left, nothing that matters.
  [[maybe_unused]] const ssize_t sent = ::send(socket, answer.data(), answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

}  // namespace

std::expected<std::unique_ptr<ControlServer>, FileError> ControlServer::open(PrivateDirectory directory,
                                                                             Dependencies dependencies) {
  posix_os::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) return lastError();
  const auto file = putInPlace(socket, directory);
  if (!file) return std::unexpected(file.error());
  return std::unique_ptr<ControlServer>(
      new ControlServer(std::move(directory), std::move(socket), *file, std::move(dependencies)));
}

ControlServer::ControlServer(PrivateDirectory directory, posix_os::FileDescriptor socket, ino_t file,
                             Dependencies dependencies)
    : directory_(std::move(directory)),
      socket_(std::move(socket)),
      file_(file),
      dependencies_(std::move(dependencies)) {
  listen();
}

ControlServer::~ControlServer() {
  if (fileNumber(directory_, controlSocketName) == file_) ::unlinkat(directory_.descriptor(), controlSocketName, 0);
  // Whoever still waits is told at once, also where a watch holds a copy of the descriptor for a while.
  ::shutdown(socket_.get(), SHUT_RDWR);
  while (!connections_.empty())
    close(connections_.begin()->first);
}

void ControlServer::listen() {
  acceptable_ = dependencies_.watcher.watchReadable(socket_.get(), lifetime_.guard([this] { acceptOne(); }));
}

void ControlServer::acceptOne() {
  posix_os::FileDescriptor socket(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!socket) {
    if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return;
    // The connection stays where it is, so the watch would call again and again.
    acceptable_.reset();
    relief_ = dependencies_.mainQueue.after(reliefDelay, lifetime_.guard([this] { listen(); }));
    return;
  }
  const auto peer = peerCredentials(socket.get());
  if (!peer || peer->uid != dependencies_.user) return;
  if (connections_.size() == limits::controlConnections)
    return send(socket.get(), failure("The agent is busy with other commands."));
  const std::uint64_t number = ++connectionCount_;
  Connection& connection = connections_[number];
  connection.socket = std::move(socket);
  connection.readable = dependencies_.watcher.watchReadable(connection.socket.get(),
                                                            lifetime_.guard([this, number] { receive(number); }));
  connection.deadline =
      dependencies_.mainQueue.after(dependencies_.patience, lifetime_.guard([this, number] { giveUp(number); }));
}

void ControlServer::receive(std::uint64_t number) {
  Connection& connection = connections_.at(number);
  std::array<char, limits::controlRequestBytes> buffer{};
  const ssize_t count = ::recv(connection.socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (count <= 0) return close(number);
  connection.received.append(buffer.data(), static_cast<std::size_t>(count));
  const std::size_t length = std::min(connection.received.find('\n'), connection.received.size());
  if (length > limits::controlRequestBytes) return finish(number, failure("The command is too long."));
  if (length == connection.received.size()) return;
  finish(number, dependencies_.handler(std::string_view(connection.received).substr(0, length)));
}

void ControlServer::giveUp(std::uint64_t number) {
  // While the agent was busy with a dialog the line may have come, and the deadline is only the first to be looked at.
  receive(number);
  if (connections_.contains(number)) finish(number, failure("The command did not come in time."));
}

void ControlServer::finish(std::uint64_t number, const std::string& answer) {
  send(connections_.at(number).socket.get(), answer);
  close(number);
}

void ControlServer::close(std::uint64_t number) {
  const auto closed = connections_.extract(number);
  ::shutdown(closed.mapped().socket.get(), SHUT_RDWR);
}

}  // namespace tallyfox::linux_os
