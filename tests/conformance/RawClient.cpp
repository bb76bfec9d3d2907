#include "RawClient.hpp"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include "RawFrame.hpp"

namespace tallyfox::server::conformance {
namespace {

/// Longer than anything takes that is going to happen at all.
constexpr int patienceMilliseconds = 60'000;

std::uint64_t numberIn(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes)
    number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

std::string closeEvent(const std::string& payload) {
  if (payload.empty()) return "close";
  if (payload.size() == 1) return "breach: a close frame with one byte";
  const std::string reason = payload.substr(2);
  return "close " + std::to_string(numberIn(payload.substr(0, 2))) + (reason.empty() ? "" : " " + reason);
}

sockaddr_in endpoint(std::uint32_t address, std::uint16_t port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  endpoint.sin_addr.s_addr = htonl(address);
  return endpoint;
}

}  // namespace

RawClient::RawClient(std::uint16_t port, std::uint32_t source)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int on = 1;
  setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  setsockopt(socket_, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof(on));
  const sockaddr_in here = endpoint(source, 0);
  const sockaddr_in there = endpoint(INADDR_LOOPBACK, port);
  if (bind(socket_, reinterpret_cast<const sockaddr*>(&here), sizeof(here)) != 0 ||
      connect(socket_, reinterpret_cast<const sockaddr*>(&there), sizeof(there)) != 0) {
    throw std::runtime_error("no connection");
  }
}

RawClient::~RawClient() {
  if (socket_ >= 0) close(socket_);
}

RawClient::RawClient(RawClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), buffer_(std::move(other.buffer_)), last_(other.last_) {}

void RawClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void RawClient::sendByteByByte(std::string_view bytes) {
  for (std::size_t index = 0; index < bytes.size(); ++index)
    send(bytes.substr(index, 1));
}

void RawClient::finishSending() {
  shutdown(socket_, SHUT_WR);
}

void RawClient::reset() {
  const linger atOnce{.l_onoff = 1, .l_linger = 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
  close(std::exchange(socket_, -1));
}

RawClient::Event RawClient::receive() {
  if (last_ == Event::end || last_ == Event::reset) return last_;
  pollfd waiting{.fd = socket_, .events = POLLIN, .revents = 0};
  if (poll(&waiting, 1, patienceMilliseconds) <= 0) return last_ = Event::silence;
  std::array<char, 65536> bytes;
  const ssize_t size = recv(socket_, bytes.data(), bytes.size(), 0);
  if (size < 0) return last_ = Event::reset;
  if (size == 0) return last_ = Event::end;
  buffer_.append(bytes.data(), static_cast<std::size_t>(size));
  return last_ = Event::data;
}

std::optional<std::string> RawClient::take(std::size_t size) {
  while (buffer_.size() < size) {
    if (receive() != Event::data) return std::nullopt;
  }
  std::string taken = buffer_.substr(0, size);
  buffer_.erase(0, size);
  return taken;
}

std::string RawClient::ended() const {
  if (!buffer_.empty()) return "breach: half a frame";
  if (last_ == Event::end) return "end";
  return last_ == Event::reset ? "reset" : "silence";
}

std::string RawClient::httpAnswer() {
  std::size_t end = std::string::npos;
  while ((end = buffer_.find("\r\n\r\n")) == std::string::npos) {
    if (receive() != Event::data) return std::exchange(buffer_, {});
  }
  constexpr std::string_view lengthName = "\r\nContent-Length: ";
  std::size_t size = end + 4;
  if (const std::size_t length = buffer_.find(lengthName); length < end) {
    size += std::stoul(buffer_.substr(length + lengthName.size()));
  }
  return take(size).value_or("");
}

std::string RawClient::everything() {
  while (receive() == Event::data) {
  }
  return std::exchange(buffer_, {});
}

std::string RawClient::next() {
  const auto head = take(2);
  if (!head) return ended();
  const auto first = static_cast<unsigned char>((*head)[0]);
  const auto second = static_cast<unsigned char>((*head)[1]);
  if ((first & 0xF0) != 0x80) return "breach: a fragment or a reserved bit";
  if ((second & 0x80) != 0) return "breach: a masked frame";
  std::uint64_t length = second;
  if (length >= 126) {
    const bool isLong = length == 127;
    const auto extended = take(isLong ? 8 : 2);
    if (!extended) return ended();
    length = numberIn(*extended);
    if (length <= (isLong ? 0xFFFFU : 125U)) return "breach: a length in too many bytes";
  }
  const auto payload = take(length);
  if (!payload) return ended();
  const unsigned kind = first & 0x0F;
  if (kind == opcode::text) return *payload;
  if (kind >= opcode::close && length > 125) return "breach: a long control frame";
  if (kind == opcode::ping) return "ping " + *payload;
  if (kind == opcode::pong) return "pong " + *payload;
  return kind == opcode::close ? closeEvent(*payload) : "breach: an opcode";
}

std::string RawClient::rest() {
  std::string all;
  do {
    const std::string event = next();
    // A close that nobody answers ends much later.
    if (event.starts_with("close")) send(controlFrame(opcode::close));
    all += event + '\n';
  } while (last_ == Event::data && !all.contains("breach"));
  return all;
}

}  // namespace tallyfox::server::conformance
