#include "LoadSocket.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace tallyfox::load {
namespace {

sockaddr_in endpoint(std::uint32_t address, std::uint16_t port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  endpoint.sin_addr.s_addr = htonl(address);
  return endpoint;
}

std::uint64_t numberIn(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes)
    number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

}  // namespace

std::string frameBytes(unsigned opcode, std::string_view payload) {
  constexpr std::string_view zeroMask("\0\0\0\0", 4);
  std::string bytes;
  bytes.reserve(payload.size() + 14);
  bytes += static_cast<char>(0x80 | opcode);
  const std::size_t size = payload.size();
  if (size > 0xFFFF) {
    bytes += '\xFF';
    for (int shift = 56; shift >= 0; shift -= 8)
      bytes += static_cast<char>(static_cast<std::uint64_t>(size) >> shift & 0xFF);
  } else if (size > 125) {
    bytes += '\xFE';
    bytes += static_cast<char>(size >> 8);
    bytes += static_cast<char>(size & 0xFF);
  } else {
    bytes += static_cast<char>(0x80 | size);
  }
  return bytes.append(zeroMask).append(payload);
}

LoadSocket::LoadSocket(const Address& address, Events events) : events_(std::move(events)) {
  socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket_ < 0) throw std::runtime_error("no more sockets");
  const int on = 1;
  setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  setsockopt(socket_, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof(on));
  if (address.receiveBuffer > 0) {
    setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &address.receiveBuffer, sizeof(address.receiveBuffer));
  }
  const sockaddr_in here = endpoint(address.source, 0);
  const sockaddr_in there = endpoint(INADDR_LOOPBACK, address.port);
  if (bind(socket_, reinterpret_cast<const sockaddr*>(&here), sizeof(here)) != 0 ||
      (connect(socket_, reinterpret_cast<const sockaddr*>(&there), sizeof(there)) != 0 && errno != EINPROGRESS)) {
    close(std::exchange(socket_, -1));
    throw std::runtime_error("no connection");
  }
  if (address.path.empty()) return;
  out_ = "GET " + address.path + " HTTP/1.1\r\nHost: relay\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n" +
         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" + address.headers + "\r\n";
}

LoadSocket::~LoadSocket() {
  if (socket_ >= 0) close(socket_);
}

void LoadSocket::sendFrame(unsigned opcode, std::string_view payload) {
  sendRaw(frameBytes(opcode, payload));
}

void LoadSocket::sendRaw(std::string_view bytes) {
  if (state_ == State::ended) return;
  out_.append(bytes);
  if (state_ != State::connecting) flush();
}

void LoadSocket::flush() {
  std::size_t sent = 0;
  while (sent < out_.size()) {
    const ssize_t size = send(socket_, out_.data() + sent, out_.size() - sent, MSG_NOSIGNAL);
    if (size <= 0) break;
    sent += static_cast<std::size_t>(size);
  }
  out_.erase(0, sent);
  // Idle sockets are many: none keeps a buffer.
  if (out_.empty()) out_ = {};
}

void LoadSocket::writable() {
  if (state_ == State::connecting) {
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(socket_, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) return finish(0);
    state_ = State::upgrading;
  }
  flush();
}

void LoadSocket::readable() {
  std::array<char, 65536> bytes;
  while (state_ != State::ended) {
    const ssize_t size = recv(socket_, bytes.data(), bytes.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size <= 0) return finish(closeCode_);
    in_.append(bytes.data(), static_cast<std::size_t>(size));
    parse();
  }
}

void LoadSocket::parse() {
  while (state_ != State::ended && (state_ == State::upgrading ? parseUpgrade() : parseFrame())) {
  }
  in_.erase(0, std::exchange(parsed_, 0));
  if (in_.empty()) in_ = {};
}

bool LoadSocket::parseUpgrade() {
  const std::size_t end = in_.find("\r\n\r\n");
  if (end == std::string::npos) return false;
  const auto status = static_cast<unsigned>(std::stoul(in_.substr(9, 3)));
  if (status != 101) {
    finish(status);
    return false;
  }
  parsed_ = end + 4;
  state_ = State::open;
  if (events_.opened) events_.opened(*this);
  return true;
}

bool LoadSocket::parseFrame() {
  const std::string_view bytes = std::string_view(in_).substr(parsed_);
  if (bytes.size() < 2) return false;
  std::size_t head = 2;
  std::uint64_t length = static_cast<unsigned char>(bytes[1]) & 0x7F;
  if (length >= 126) {
    const std::size_t extra = length == 126 ? 2 : 8;
    if (bytes.size() < head + extra) return false;
    length = numberIn(bytes.substr(head, extra));
    head += extra;
  }
  if (bytes.size() < head + length) return false;
  const std::string_view payload = bytes.substr(head, length);
  parsed_ += head + length;
  switch (static_cast<unsigned char>(bytes[0]) & 0x0F) {
    case 0x8:
      closeCode_ = payload.size() >= 2 ? static_cast<unsigned>(numberIn(payload.substr(0, 2))) : 1005;
      sendFrame(0x8, payload);
      break;
    case 0x9:
      sendFrame(0xA, payload);
      break;
    case 0xA:
      break;
    default:
      if (events_.message) events_.message(*this, payload);
  }
  return true;
}

void LoadSocket::end(bool reset) {
  if (state_ == State::ended) return;
  state_ = State::ended;
  if (reset) {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
  }
  close(std::exchange(socket_, -1));
}

bool LoadSocket::vanish() {
  const int on = 1;
  // A socket under repair is closed without a packet.
  if (setsockopt(socket_, IPPROTO_TCP, TCP_REPAIR, &on, sizeof(on)) != 0) return false;
  state_ = State::ended;
  close(std::exchange(socket_, -1));
  return true;
}

void LoadSocket::finish(unsigned code) {
  end(false);
  if (events_.ended) events_.ended(*this, code);
}

}  // namespace tallyfox::load
