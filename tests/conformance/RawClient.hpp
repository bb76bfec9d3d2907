#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfox::server::conformance {

/// A TCP connection that sends any bytes and reads what comes back strictly by the RFC. No wait of it is endless.
class RawClient {
 public:
  /// From `source`, an IPv4 address of this machine.
  explicit RawClient(std::uint16_t port, std::uint32_t source = 0x7F000001);
  ~RawClient();
  RawClient(RawClient&& other) noexcept;
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  /// A relay that has closed by then is no failure.
  void send(std::string_view bytes);
  void sendByteByByte(std::string_view bytes);
  /// Ends this direction; the other one stays.
  void finishSending();
  /// Ends the connection at once, such that neither side remembers it.
  void reset();

  /// An HTTP answer with its body, or what came of it before the end.
  [[nodiscard]] std::string httpAnswer();
  /// All bytes until the end.
  [[nodiscard]] std::string everything();
  /// What the relay sends next: a text message, "ping PAYLOAD", "pong PAYLOAD", "close CODE REASON" (or "close" without
  /// a payload), "end" for the end of the stream, "reset", "silence", or "breach ..." for what no server may send.
  [[nodiscard]] std::string next();
  /// The events from now on, as next() says them, until the stream ends, each on one line. Closes are answered.
  [[nodiscard]] std::string rest();

 private:
  enum class Event { data, end, reset, silence };
  [[nodiscard]] Event receive();
  /// The first bytes that the buffer holds, once it holds so many.
  [[nodiscard]] std::optional<std::string> take(std::size_t size);
  [[nodiscard]] std::string ended() const;

  int socket_ = -1;
  std::string buffer_;
  Event last_ = Event::data;
};

}  // namespace tallyfox::server::conformance
