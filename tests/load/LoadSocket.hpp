#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tallyfox::load {

/// Where a connection goes and what its upgrade says. `source` is an address of the loopback: one address has ports for
/// 28,000 connections.
struct Address {
  std::uint16_t port = 0;
  std::string path = "/";
  std::string headers{};  ///< each with its line break
  std::uint32_t source = 0x7F000001;
  int receiveBuffer = 0;  ///< bytes; 0 for the system's own choice
};

/// One WebSocket client that never blocks. It masks with zeros, which costs it nothing and the server what any mask
/// does.
class LoadSocket {
 public:
  enum class State { connecting, upgrading, open, ended };
  struct Events {
    std::function<void(LoadSocket&)> opened{};
    /// A text or binary message; fragments are not expected.
    std::function<void(LoadSocket&, std::string_view)> message{};
    /// Refused, closed or cut; `code` is the close code, or the HTTP status, or 0.
    std::function<void(LoadSocket&, unsigned code)> ended{};
  };

  LoadSocket(const Address& address, Events events);
  ~LoadSocket();
  LoadSocket(const LoadSocket&) = delete;
  LoadSocket& operator=(const LoadSocket&) = delete;

  [[nodiscard]] int descriptor() const { return socket_; }
  [[nodiscard]] State state() const { return state_; }
  void sendText(std::string_view text) { sendFrame(0x1, text); }
  void sendBinary(std::string_view bytes) { sendFrame(0x2, bytes); }
  void sendFrame(unsigned opcode, std::string_view payload);
  /// Bytes as they are.
  void sendRaw(std::string_view bytes);
  /// Reads and writes all that is possible now; told once whenever it becomes possible.
  void readable();
  void writable();
  /// Ends it: in order, or with a reset.
  void end(bool reset);
  /// Ends it without a word to the other side, as a machine that lost its power; false where that is not allowed.
  [[nodiscard]] bool vanish();

 private:
  void flush();
  void parse();
  [[nodiscard]] bool parseUpgrade();
  [[nodiscard]] bool parseFrame();
  void finish(unsigned code);

  int socket_ = -1;
  State state_ = State::connecting;
  Events events_;
  std::string in_, out_;
  std::size_t parsed_ = 0;  ///< of `in_`
  unsigned closeCode_ = 0;
};

[[nodiscard]] std::string frameBytes(unsigned opcode, std::string_view payload);

}  // namespace tallyfox::load
