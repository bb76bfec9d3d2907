#pragma once

#include <cstdint>

namespace tallyfox::server {

/// Why the relay closes a WebSocket; the numbers are part of the protocol.
enum class CloseCode : std::uint16_t {
  normal = 1000,
  goingAway = 1001,    ///< the relay stops
  invalidText = 1007,  ///< a text frame is not UTF-8
  frameTooLarge = 1009,
  internalError = 1011,   ///< the relay's storage fails
  serviceRestart = 1012,  ///< the relay drains; the reason says when to come back
  tryAgainLater = 1013,   ///< too many connections that have not said who they are
  replaced = 4000,        ///< a newer socket of the same agent or device took over
  slowConsumer = 4008,    ///< the outgoing queue is full
  malformed = 4400,       ///< a bad hello, none in time, or a bad frame of a phone
  unauthorized = 4401,    ///< unknown pairing or wrong secret
  unpaired = 4410,        ///< the pairing was revoked, or this device was unpaired
  tooManyPhones = 4429,
  tooFast = 4430,  ///< a phone sent more than it may
};

}  // namespace tallyfox::server
