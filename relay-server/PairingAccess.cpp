#include "PairingAccess.hpp"

#include <openssl/crypto.h>

#include <utility>

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

PairingAccess::Answer<void> PairingAccess::registerToken(std::string pairingID, std::string token) {
  const Sha256Digest hash = sha256(bytesOf(token));
  const auto known = co_await store_.pairing(pairingID);
  if (!known) co_return std::unexpected(storageFailure("look up a pairing", known.error()));
  if (*known) {
    if (const auto allowed = verdict(**known, hash); !allowed) co_return allowed;
  }
  const auto stored = co_await store_.registerPairing(pairingID, hash);
  if (!stored) co_return std::unexpected(storageFailure("store a registration", stored.error()));
  // Another token may have been registered, or the pairing revoked, since it was looked up.
  if (const auto allowed = verdict(*stored, hash); !allowed) co_return allowed;
  registered(*known ? log_event::pairingRenewed : log_event::pairingRegistered, pairingID);
  co_return std::expected<void, Refusal>{};
}

PairingAccess::Answer<std::string> PairingAccess::pairingOfToken(std::string token) {
  const Sha256Digest hash = sha256(bytesOf(token));
  // The index is searched by hash: its timing tells about digests of presented tokens, which help nobody to find one.
  const auto pairing = co_await store_.pairingOfToken(hash);
  if (!pairing) co_return std::unexpected(storageFailure("look up a token", pairing.error()));
  if (!*pairing) co_return std::unexpected(Refusal::unauthorized);
  if (const auto allowed = verdict(**pairing, hash); !allowed) co_return std::unexpected(allowed.error());
  co_return (*pairing)->id;
}

PairingAccess::Answer<void> PairingAccess::check(std::string pairingID, std::string token) {
  const auto pairing = co_await store_.pairing(std::move(pairingID));
  if (!pairing) co_return std::unexpected(storageFailure("look up a pairing", pairing.error()));
  if (!*pairing) co_return std::unexpected(Refusal::unauthorized);
  co_return verdict(**pairing, sha256(bytesOf(token)));
}

void PairingAccess::registered(const LogEvent& event, std::string_view pairingID) {
  log_.write(event, {LogField::pairing(pairingID)});
}

PairingAccess::Refusal PairingAccess::storageFailure(LogText task, const StorageError& error) {
  log_.write(log_event::storageFailed, {LogField::task(task), LogField::reason(error)});
  return Refusal::storageFailed;
}

}  // namespace tallyfox::server
