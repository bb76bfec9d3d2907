#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>

#include "PhoneAddress.hpp"
#include "push/PushClient.hpp"

namespace tallyfox::server {

/// What the sender asks of the relay.
class PushRecipients {
 public:
  virtual ~PushRecipients() = default;
  /// Asked right before each request: where it goes, or nothing when the phone need not be asked any more.
  [[nodiscard]] virtual boost::asio::awaitable<std::optional<PushEndpoint>> endpoint(const PhoneAddress& target) = 0;
  /// How it ended, after the last attempt.
  [[nodiscard]] virtual boost::asio::awaitable<void> ended(const PhoneAddress& target, const PushEndpoint& endpoint,
                                                           const PushOutcome& outcome) = 0;
};

/// Asks phones to look, each in its own time: requests to one phone are gathered, failed ones repeated, and all of them
/// bounded. Nobody waits for it. For one thread; must outlive the coroutines of its executor.
class PushSender {
 public:
  PushSender(boost::asio::any_io_executor executor, PushClient& client, PushRecipients& recipients)
      : executor_(std::move(executor)), client_(client), recipients_(recipients), free_(client.limits().requests) {}
  PushSender(const PushSender&) = delete;
  PushSender& operator=(const PushSender&) = delete;

  /// False when too many phones are being asked already.
  bool wake(const PhoneAddress& target);
  /// Ends what is under way and takes nothing more.
  void stop();

 private:
  struct Phone {
    bool wanted = true;
    boost::asio::steady_timer* pause = nullptr;
  };
  struct Attempt {
    PushEndpoint endpoint;
    PushOutcome outcome;
  };

  boost::asio::awaitable<void> serve(PhoneAddress target, Phone& phone);
  /// How long the phone has to be left alone afterwards.
  boost::asio::awaitable<std::chrono::milliseconds> ask(const PhoneAddress& target, Phone& phone,
                                                        boost::asio::steady_timer& pause);
  /// Absent when the phone need not be asked.
  boost::asio::awaitable<std::optional<Attempt>> attempt(const PhoneAddress& target);
  /// False when the sender stops.
  boost::asio::awaitable<bool> takeSlot();
  void giveSlot();

  boost::asio::any_io_executor executor_;
  PushClient& client_;
  PushRecipients& recipients_;
  std::map<PhoneAddress, Phone> phones_;
  std::size_t free_;  ///< requests that may begin at once
  std::deque<boost::asio::steady_timer*> waiting_;
  bool stopping_ = false;
};

/// What a service may know requests of one pairing by: they replace each other.
[[nodiscard]] std::string pushTopic(std::string_view pairingID);

}  // namespace tallyfox::server
