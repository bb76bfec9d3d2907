#include "PairingAccess.hpp"

#include <openssl/crypto.h>

namespace tallyfox::server {
namespace {

using Refusal = PairingAccess::Refusal;

std::expected<void, Refusal> verdict(const PairingRecord& pairing, const Sha256Digest& presented) {
  if (CRYPTO_memcmp(pairing.tokenHash.data(), presented.data(), presented.size()) != 0) {
    return std::unexpected(Refusal::unauthorized);
  }
  if (pairing.revoked) return std::unexpected(Refusal::revoked);
  return {};
}

}  // namespace

std::expected<void, Refusal> PairingAccess::registerToken(std::string_view pairingID, std::string_view token) {
  const Sha256Digest hash = sha256(bytesOf(token));
  const auto pairing = database_.pairing(pairingID);
  if (!pairing) return std::unexpected(storageFailure("look up a pairing", pairing.error()));
  if (*pairing) {
    if (const auto allowed = verdict(**pairing, hash); !allowed) return allowed;
  }
  if (const auto stored = database_.registerPairing(pairingID, hash); !stored) {
    return std::unexpected(storageFailure("store a registration", stored.error()));
  }
  log_.line("Pairing {} registered{}.", shortened(pairingID), *pairing ? " again" : "");
  return {};
}

std::expected<std::string, Refusal> PairingAccess::pairingOfToken(std::string_view token) {
  const Sha256Digest hash = sha256(bytesOf(token));
  // The index is searched by hash: its timing tells about digests of presented tokens, which help nobody to find one.
  const auto pairing = database_.pairingOfToken(hash);
  if (!pairing) return std::unexpected(storageFailure("look up a token", pairing.error()));
  if (!*pairing) return std::unexpected(Refusal::unauthorized);
  if (const auto allowed = verdict(**pairing, hash); !allowed) return std::unexpected(allowed.error());
  return (*pairing)->id;
}

std::expected<void, Refusal> PairingAccess::check(std::string_view pairingID, std::string_view token) {
  const auto pairing = database_.pairing(pairingID);
  if (!pairing) return std::unexpected(storageFailure("look up a pairing", pairing.error()));
  if (!*pairing) return std::unexpected(Refusal::unauthorized);
  return verdict(**pairing, sha256(bytesOf(token)));
}

PairingAccess::Refusal PairingAccess::storageFailure(std::string_view task, const DatabaseError& error) {
  log_.line("Unable to {}: {}", task, error.description);
  return Refusal::storageFailed;
}

}  // namespace tallyfox::server
