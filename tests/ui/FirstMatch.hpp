#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "ui/MacStatusSnapshot.hpp"

namespace tallyfox {

/// A snapshot of which nothing bad can be said: set up, connected, one phone known, no pause.
inline MacStatusSnapshot readySnapshot() {
  MacStatusSnapshot snapshot;
  snapshot.installedInApplications = true;
  snapshot.accessibilityTrusted = true;
  snapshot.loginItemStatus = login_item::Enabled{};
  snapshot.relayConfigured = true;
  snapshot.relayConnected = true;
  snapshot.phoneConnected = true;
  snapshot.phoneCount = 1;
  snapshot.pairingImage = GrayscaleImage{.width = 1, .height = 1, .pixels = {0}};
  snapshot.pairingCaption = "Scan me.";
  return snapshot;
}

/// A condition that a text depends on, brought about in a snapshot without touching what the others look at.
struct TextRule {
  std::function<void(MacStatusSnapshot&)> bringAbout;
  std::string text;
};

/// Tries every combination of conditions: always the first rule whose condition holds gives the text, and without any
/// the last text stands.
template <typename Derivation>
void expectFirstMatchWins(const MacStatusSnapshot& base, const std::vector<TextRule>& rules,
                          const std::string& otherwise, Derivation derivation) {
  for (std::size_t combination = 0; combination < (std::size_t{1} << rules.size()); ++combination) {
    MacStatusSnapshot snapshot = base;
    const std::string* expected = &otherwise;
    for (std::size_t i = rules.size(); i-- > 0;) {
      if ((combination >> i & 1U) == 0) continue;
      rules[i].bringAbout(snapshot);
      expected = &rules[i].text;
    }
    EXPECT_EQ(derivation(snapshot), *expected) << "combination " << combination;
  }
}

inline void moveOut(MacStatusSnapshot& snapshot) {
  snapshot.installedInApplications = false;
}
inline void distrust(MacStatusSnapshot& snapshot) {
  snapshot.accessibilityTrusted = false;
}
inline void disableLoginItem(MacStatusSnapshot& snapshot) {
  snapshot.loginItemStatus = login_item::Disabled{};
}
inline void unconfigureRelay(MacStatusSnapshot& snapshot) {
  snapshot.relayConfigured = false;
}
inline void disconnectRelay(MacStatusSnapshot& snapshot) {
  snapshot.relayConnected = false;
}
inline void forgetPhones(MacStatusSnapshot& snapshot) {
  snapshot.phoneConnected = false;
  snapshot.phoneCount = 0;
  snapshot.connectedPhones.clear();
}
inline void pauseForever(MacStatusSnapshot& snapshot) {
  snapshot.notificationPause.pausesIndefinitely = true;
}

}  // namespace tallyfox
