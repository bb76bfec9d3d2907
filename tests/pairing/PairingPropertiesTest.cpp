// For every secret and every seed: stored secrets and pairing codes read back, and a pairing id has its form whatever
// the seed is.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>

#include "base/Generators.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "pairing/PairingPayload.hpp"

namespace tallyfox {
namespace {

RC_GTEST_PROP(PairingProperties, secretsReadBack, ()) {
  const InstallationSecrets secrets{*generate::text(), *generate::text(), *generate::text()};
  RC_ASSERT((InstallationSecrets::decoded(parsedJson(jsonText(secrets.json())).value()) == secrets));
}

RC_GTEST_PROP(PairingProperties, pairingCodesReadBackWithEverySlashEscaped, ()) {
  PairingPayload payload;
  payload.backendURL = *generate::text();
  payload.pairingID = *generate::text();
  payload.relaySecret = *generate::text();
  payload.e2eSecret = *generate::text();
  const std::string code = payload.encoded();
  RC_ASSERT((PairingPayload::decoded(parsedJson(code).value()) == payload));
  for (std::size_t at = 0; at < code.size(); ++at)
    if (code[at] == '/') RC_ASSERT(at > 0 && code[at - 1] == '\\');
}

RC_GTEST_PROP(PairingProperties, pairingIdsHaveTheirFormWhateverTheSeed, ()) {
  const std::string seed = *generate::text();
  const std::string id = createdPairingID(&seed);
  RC_ASSERT(id.size() > 33);
  const std::string prefix = id.substr(0, id.size() - 33);
  const std::string digits = id.substr(id.size() - 32);
  RC_ASSERT(id[id.size() - 33] == '-');
  RC_ASSERT(digits.find_first_not_of("0123456789abcdef") == std::string::npos);
  RC_ASSERT(prefix.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_-") == std::string::npos);
  RC_ASSERT(std::string("-_").find(prefix.front()) == std::string::npos);
  RC_ASSERT(std::string("-_").find(prefix.back()) == std::string::npos);
}

}  // namespace
}  // namespace tallyfox
