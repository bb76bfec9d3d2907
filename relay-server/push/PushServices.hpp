#pragma once

#include <boost/asio/ip/address.hpp>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "push/PushEndpoint.hpp"

namespace tallyfox::server {

/// Whether an address is one of the internet's: not this machine's, a private network's or otherwise special.
[[nodiscard]] bool isPublicAddress(const boost::asio::ip::address& address);

/// The push services that the relay talks to. Phones name their endpoints, so without this list anyone with a pairing
/// could make the relay send requests where he likes.
class PushServices {
 public:
  struct Service {
    std::string host;  ///< lower case; `*.` at its start stands for one or more labels
    std::uint16_t port = 443;
    /// HOST[:PORT], where the host may begin with `*.`. The error is a few words.
    [[nodiscard]] static std::expected<Service, std::string> parsed(std::string_view text);
    [[nodiscard]] bool covers(const PushEndpoint& endpoint) const;
    bool operator==(const Service&) const = default;
  };

  /// Those of the browsers, or, when the operator names any, exactly his.
  explicit PushServices(std::vector<Service> named);

  [[nodiscard]] bool allow(const PushEndpoint& endpoint) const;
  /// Whether a service may be at an address that is not public: only one that the operator named by its whole name.
  [[nodiscard]] bool mayBeInner(const PushEndpoint& endpoint) const;

 private:
  bool named_;
  std::vector<Service> services_;
};

}  // namespace tallyfox::server
