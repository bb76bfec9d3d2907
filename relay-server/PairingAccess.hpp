#pragma once

#include <boost/asio/awaitable.hpp>
#include <expected>
#include <string>
#include <string_view>

#include "RelayLog.hpp"
#include "storage/PairingStore.hpp"

namespace tallyfox::server {

/// Who may speak for a pairing. Only hashes of tokens are kept, and a presented token is compared by its hash in
/// constant time.
class PairingAccess {
 public:
  enum class Refusal {
    unauthorized,   ///< unknown pairing, or another token
    revoked,        ///< the right token of a revoked pairing
    storageFailed,  ///< the storage could not be asked; it is in the log
  };

  template <typename Value>
  using Answer = boost::asio::awaitable<std::expected<Value, Refusal>>;

  PairingAccess(PairingStore& store, RelayLog& log) : store_(store), log_(log) {}

  /// The first token registered for a pairing is its token for good.
  [[nodiscard]] Answer<void> registerToken(std::string pairingID, std::string token);
  /// The pairing for which the token was registered last.
  [[nodiscard]] Answer<std::string> pairingOfToken(std::string token);
  [[nodiscard]] Answer<void> check(std::string pairingID, std::string token);

 private:
  void registered(const LogEvent& event, std::string_view pairingID);
  Refusal storageFailure(LogText task, const StorageError& error);

  PairingStore& store_;
  RelayLog& log_;
};

}  // namespace tallyfox::server
