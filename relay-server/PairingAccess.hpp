#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "RelayDatabase.hpp"
#include "RelayLog.hpp"

namespace tallyfox::server {

/// Who may speak for a pairing. Only hashes of tokens are kept, and a presented token is compared by its hash in
/// constant time.
class PairingAccess {
 public:
  enum class Refusal {
    unauthorized,   ///< unknown pairing, or another token
    revoked,        ///< the right token of a revoked pairing
    storageFailed,  ///< the database could not be asked; it is in the log
  };

  PairingAccess(RelayDatabase& database, RelayLog& log) : database_(database), log_(log) {}

  /// The first token registered for a pairing is its token for good.
  [[nodiscard]] std::expected<void, Refusal> registerToken(std::string_view pairingID, std::string_view token);
  /// The pairing for which the token was registered last.
  [[nodiscard]] std::expected<std::string, Refusal> pairingOfToken(std::string_view token);
  [[nodiscard]] std::expected<void, Refusal> check(std::string_view pairingID, std::string_view token);

 private:
  Refusal storageFailure(std::string_view task, const DatabaseError& error);

  RelayDatabase& database_;
  RelayLog& log_;
};

}  // namespace tallyfox::server
