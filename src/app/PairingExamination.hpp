#pragma once

#include <optional>

#include "platform/ApplicationBundle.hpp"
#include "platform/DoctorFacts.hpp"
#include "platform/Environment.hpp"
#include "platform/HttpClient.hpp"
#include "platform/Keychain.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

/// Looks at the pairing without touching it: no identity is made, none is registered.

struct ExaminedRelay {
  DoctorFacts::RelaySetting setting;
  std::optional<HttpRequest> health;  ///< asks whether the relay is there; absent unless it may be spoken to
};
/// What the agent would take its relay from, started with this environment.
[[nodiscard]] ExaminedRelay examinedRelay(Environment& environment, ApplicationBundle& bundle, UserDefaults& defaults,
                                          Keychain& keychain);

struct ExaminedIdentity {
  DoctorFacts::Identity identity;
  /// Asks whether the relay knows this computer, and changes nothing there. Carries the token. Absent without a relay
  /// that may be spoken to, or without a usable identity.
  std::optional<HttpRequest> registration;
};
/// Asks both keychains; blocks.
[[nodiscard]] ExaminedIdentity examinedIdentity(Keychain& keychain, const ExaminedRelay& relay);

}  // namespace tallyfox
