#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Date.hpp"

namespace tallyfox {

/// Why a connection, message or response did not come about: one sentence for a log line, without secrets.
struct TransportError {
  std::string description;
  std::optional<std::uint16_t> closeCode = std::nullopt;  ///< of a WebSocket that the other side closed with a code
  bool operator==(const TransportError&) const = default;
};

struct WebSocketRequest {
  std::string url;  ///< ws or wss; certificates and host names are verified
  std::vector<std::pair<std::string, std::string>> headers;
  Seconds timeout{60};  ///< for everything up to the open event
};

/// Called on the transport's own thread, one at a time; must only post.
struct WebSocketEvents {
  std::function<void()> onOpen;
  /// After an open: the connection has ended, by either side or by loss.
  std::function<void()> onClose;
};

/// One connection. Destroying it drops the connection without a close frame; no callback follows the destructor.
class WebSocketTask {
 public:
  virtual ~WebSocketTask() = default;
  /// One text frame. `completion` runs once on the transport's thread. Frames leave in the order of the calls.
  virtual void send(std::string text, std::function<void(std::expected<void, TransportError>)> completion) = 0;
  /// The next frame (text as its UTF-8 bytes), once. Also fails when the connection could not be opened. A frame over
  /// limits::frameBytes ends the connection.
  virtual void receive(std::function<void(std::expected<Bytes, TransportError>)> completion) = 0;
  /// Closes with this code and no reason; pending calls fail. Only the first call counts. Any thread, also inside a
  /// callback.
  virtual void cancel(std::uint16_t closeCode) = 0;
};

class WebSocketTransport {
 public:
  virtual ~WebSocketTransport() = default;
  /// Begins to connect and returns at once. Any thread.
  [[nodiscard]] virtual std::unique_ptr<WebSocketTask> start(const WebSocketRequest& request,
                                                             WebSocketEvents events) = 0;
};

}  // namespace tallyfox
