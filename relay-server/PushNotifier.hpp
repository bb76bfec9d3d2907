#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "PhoneAddress.hpp"
#include "RelayLog.hpp"
#include "RelayPeer.hpp"
#include "base/Crypto.hpp"
#include "metrics/RelayMetrics.hpp"
#include "push/PushSender.hpp"
#include "relay/RelayMessages.hpp"
#include "storage/PairingStore.hpp"

namespace tallyfox::server {

/// Asks phones without a socket to look when dialogs wait for their owners. What it sends is empty: it tells a push
/// service that a phone is to look, and nothing else. For one thread; must outlive the coroutines of its executor.
class PushNotifier final : private PushRecipients {
 public:
  static constexpr std::string_view subscribeType = "push.subscribe";
  static constexpr std::string_view unsubscribeType = "push.unsubscribe";

  struct Dependencies {
    PairingStore& store;
    RelayLog& log;
    RelayMetrics& metrics;
    PushClient& client;
    std::function<bool(const PhoneAddress&)> isConnected;
  };
  PushNotifier(boost::asio::any_io_executor executor, Dependencies dependencies);

  /// Never waits.
  void snapshotPublished(const std::string& pairingID, const MacSnapshotRelayMessage& snapshot);
  /// What the phone is told.
  [[nodiscard]] boost::asio::awaitable<Frame> subscribed(PhoneAddress phone, std::string endpoint);
  [[nodiscard]] boost::asio::awaitable<Frame> unsubscribed(PhoneAddress phone);
  void stop() { sender_.stop(); }

 private:
  void lookUp(const std::string& pairingID);
  boost::asio::awaitable<void> wakePhones(std::string pairingID);
  boost::asio::awaitable<std::optional<DeviceRecord>> device(const PhoneAddress& phone);
  boost::asio::awaitable<Frame> stored(const PhoneAddress& phone, std::optional<std::string> endpoint);

  boost::asio::awaitable<std::optional<PushEndpoint>> endpoint(const PhoneAddress& phone) override;
  boost::asio::awaitable<void> ended(const PhoneAddress& phone, const PushEndpoint& endpoint,
                                     const PushOutcome& outcome) override;

  boost::asio::any_io_executor executor_;
  Dependencies dependencies_;
  PushSender sender_;
  /// Digests of the last snapshot of pairings whose owners are asked something.
  std::map<std::string, Sha256Digest, std::less<>> waiting_;
  /// Pairings whose phones are being looked up; true when they have to be once more.
  std::map<std::string, bool, std::less<>> lookups_;
};

}  // namespace tallyfox::server
