#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/Date.hpp"

namespace tallyfox::mac_os {

/// The system's socket as one WebSocketConnection uses it: every call begins something and returns. What comes of it is
/// told to the connection in a later task of the queue, never from inside a call. Network queue only.
class WebSocketWire {
 public:
  virtual ~WebSocketWire() = default;
  virtual void connect() = 0;
  /// One text frame; `sent` or `failed` follows.
  virtual void send(const std::string& text) = 0;
  /// The next frame; `received` or `failed` follows, or neither when the connection ends.
  virtual void receive() = 0;
  /// `heard`, `failed`, both or neither follow.
  virtual void ping() = 0;
  /// A close frame with this code and no reason.
  virtual void close(std::uint16_t code) = 0;
  /// Ends everything; what is told after it counts for nothing.
  virtual void drop() = 0;
  /// Runs `work` on the network queue, `delay` from now. It cannot be taken back.
  virtual void after(Seconds delay, std::function<void()> work) = 0;
};

}  // namespace tallyfox::mac_os
