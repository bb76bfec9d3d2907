#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <chrono>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "push/PushEndpoint.hpp"
#include "push/PushLimits.hpp"
#include "push/PushOptions.hpp"
#include "push/PushServices.hpp"
#include "push/VapidKey.hpp"

namespace tallyfox::server {

/// What became of one request.
struct PushOutcome {
  enum class Kind {
    accepted,
    gone,     ///< the subscription has ended
    refused,  ///< and would be again
    later,    ///< the service is busy or out of reach
  };
  Kind kind = Kind::later;
  std::optional<std::chrono::seconds> retryAfter{};  ///< when the service says so
  std::string reason{};                              ///< a status or a failure in words, without the endpoint
  bool operator==(const PushOutcome&) const = default;
};

/// Asks push services, over HTTPS, to wake phones.
class PushClient {
 public:
  /// Reads the files that the options name. The error is one line.
  [[nodiscard]] static std::expected<std::unique_ptr<PushClient>, std::string> make(const PushOptions& options,
                                                                                    const PushLimits& limits);
  ~PushClient();
  PushClient(const PushClient&) = delete;
  PushClient& operator=(const PushClient&) = delete;

  [[nodiscard]] const PushLimits& limits() const { return limits_; }
  [[nodiscard]] const std::string& publicKey() const { return key_.publicKey(); }
  [[nodiscard]] bool allows(const PushEndpoint& endpoint) const { return services_.allow(endpoint); }

  /// A request without content. Of those with the same topic a service keeps the last one for a phone that is off.
  [[nodiscard]] boost::asio::awaitable<PushOutcome> post(PushEndpoint endpoint, std::string topic);
  /// Ends every request that is under way.
  void abort();

 private:
  struct Exchange;
  PushClient(VapidKey key, const PushOptions& options, const PushLimits& limits);
  [[nodiscard]] boost::asio::awaitable<std::expected<PushOutcome, std::string>> exchanged(Exchange& exchange,
                                                                                          const PushEndpoint& endpoint,
                                                                                          const std::string& topic);

  VapidKey key_;
  std::string contact_;
  PushServices services_;
  PushLimits limits_;
  boost::asio::ssl::context tls_;
  std::set<Exchange*> exchanges_;
};

}  // namespace tallyfox::server
