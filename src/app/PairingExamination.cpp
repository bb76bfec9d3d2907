#include "app/PairingExamination.hpp"

#include <algorithm>
#include <array>

#include "base/Console.hpp"
#include "base/Url.hpp"
#include "model/RelayAddress.hpp"
#include "pairing/InstallationSecretStorage.hpp"
#include "pairing/MacKeychainStore.hpp"
#include "pairing/PairingConfiguration.hpp"
#include "relay/RelayRegistration.hpp"

namespace tallyfox {
namespace {

using Source = DoctorFacts::RelaySetting::Source;

/// For each of the requests; an owner waits for the answer.
constexpr Seconds answerTime{4};

/// Keeps what would be printed.
class LastLine : public Console {
 public:
  void printLine(std::string_view line) override { text = line; }
  std::string text;
};

bool namesAnything(Environment& environment) {
  constexpr std::array names = {"TALLYFOX_RELAY_URL", "TALLYFOX_PAIRING_ID", "QUARRYSTONE_RELAY_URL",
                                "QUARRYSTONE_PAIRING_ID"};
  return std::ranges::any_of(names, [&](const char* name) { return !environment.value(name).value_or("").empty(); });
}

std::optional<HttpRequest> healthRequest(const std::string& relayURL) {
  const auto url = Url::parsed(relayURL);
  const auto base = backendBaseURL(relayURL);
  if (!url || !base || !isAllowedRelayURL(*url)) return std::nullopt;
  return HttpRequest{.method = "GET", .url = *base + "/healthz", .headers = {}, .body = {}, .timeout = answerTime};
}

}  // namespace

ExaminedRelay examinedRelay(Environment& environment, ApplicationBundle& bundle, UserDefaults& defaults,
                            Keychain& keychain) {
  LastLine complaint;
  const PairingConfiguration pairing({environment, bundle, defaults, keychain, complaint});
  ExaminedRelay examined;
  auto configuration = pairing.environmentConfiguration();
  if (configuration) {
    examined.setting.source = Source::environment;
  } else {
    configuration = pairing.bundledConfiguration();
    if (configuration) examined.setting.source = Source::resource;
    examined.setting.problem = complaint.text;
    if (complaint.text.empty() && namesAnything(environment))
      examined.setting.problem = "The environment names only a part of relay address and pairing id.";
  }
  if (!configuration) return examined;
  examined.setting.address = configuration->relayURL;
  examined.health = healthRequest(configuration->relayURL);
  return examined;
}

ExaminedIdentity examinedIdentity(Keychain& keychain, const ExaminedRelay& relay) {
  using namespace keychain_status;
  ExaminedIdentity examined;
  auto stored = keychain.copyMatching(MacKeychainStore::item(MacKeychainStore::secretsAccount, true));
  examined.identity.desktopKeyring = stored ? success : stored.error();
  if (!stored && (stored.error() == itemNotFound || stored.error() == missingEntitlement)) {
    stored = keychain.copyMatching(MacKeychainStore::item(MacKeychainStore::secretsAccount, false));
    examined.identity.fileKeychain = stored ? success : stored.error();
  }
  if (!stored) return examined;
  const auto secrets = decodedSecrets(*stored);
  examined.identity.isUsable = secrets.has_value();
  if (!secrets || !relay.health) return examined;
  const auto url = relayTokenURL({.relayURL = relay.setting.address, .pairingID = secrets->pairingID});
  if (!url) return examined;
  examined.registration = HttpRequest{.method = "GET",
                                      .url = *url,
                                      .headers = {{"authorization", "Bearer " + secrets->relayAuthToken}},
                                      .body = {},
                                      .timeout = answerTime};
  return examined;
}

}  // namespace tallyfox
