#pragma once

#include <boost/asio/awaitable.hpp>
#include <memory>
#include <optional>

#include "PeerSession.hpp"
#include "PeerSocket.hpp"
#include "RelayHub.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "UnauthenticatedConnections.hpp"

namespace tallyfox::server {

/// One phone's socket, from its handshake to its end. Leaves the hub when destroyed.
class PhoneSession final : public PeerSession {
 public:
  struct Dependencies {
    RelayHub& hub;
    UnauthenticatedConnections& unauthenticated;
    RelayLog& log;
    const RelayLimits& limits;
    RelayMetrics& metrics;
  };
  PhoneSession(std::shared_ptr<PeerSocket> socket, Dependencies dependencies);
  ~PhoneSession() override;
  PhoneSession(const PhoneSession&) = delete;
  PhoneSession& operator=(const PhoneSession&) = delete;

  [[nodiscard]] boost::asio::awaitable<void> run() override;

 private:
  /// The phone's first frame; null when it did not come in time.
  [[nodiscard]] boost::asio::awaitable<Frame> firstFrame();
  /// Whether it did; else the socket is closed with the reason.
  [[nodiscard]] boost::asio::awaitable<bool> join(Frame frame);
  void helloMalformed(const DecodingError& error);
  /// Whether it is being closed for that.
  [[nodiscard]] bool isTooFast(const Frame& frame);
  /// Says hello and joins, as one of those who have not yet shown who they are.
  [[nodiscard]] boost::asio::awaitable<bool> enter();

  std::shared_ptr<PeerSocket> socket_;
  Dependencies dependencies_;
  std::optional<PhoneAddress> joined_;
  FrameRate rate_;
};

}  // namespace tallyfox::server
