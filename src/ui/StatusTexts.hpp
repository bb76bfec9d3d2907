#pragma once

#include <string>

#include "base/Date.hpp"
#include "ui/MacStatusSnapshot.hpp"

namespace tallyfox {

/// Every text of the status window, chosen from a snapshot. Pure functions; where several conditions hold, the one that
/// the owner must see to first decides.

/// What a pill's colour says; the window knows the colour.
enum class PillRole { success, warning };

struct StatusPill {
  std::string text;
  PillRole role = PillRole::warning;
  bool operator==(const StatusPill&) const = default;
};

/// What a row says beside its title.
struct StatusRow {
  StatusPill pill;
  std::string detail;
  bool operator==(const StatusRow&) const = default;
};

/// Any sign of a phone counts: a relay may report a number without a list.
[[nodiscard]] bool hasPhone(const MacStatusSnapshot& snapshot);

[[nodiscard]] StatusPill overallStatus(const MacStatusSnapshot& snapshot);
[[nodiscard]] std::string headerTitle(const MacStatusSnapshot& snapshot);
[[nodiscard]] std::string headerSubtitle(const MacStatusSnapshot& snapshot);

[[nodiscard]] std::string phoneCardTitle(const MacStatusSnapshot& snapshot);
[[nodiscard]] std::string phoneStatusDetail(const MacStatusSnapshot& snapshot);
/// The text under the pairing code, or in its place.
[[nodiscard]] std::string pairingCaption(bool accessibilityTrusted, bool hasPairingPayload);

[[nodiscard]] StatusRow installLocationRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] StatusRow accessibilityRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] StatusRow loginItemRow(const MacStatusSnapshot& snapshot);

/// Whether alerts are kept back now. A timed pause ends by itself, also where nobody has cleared it away yet.
[[nodiscard]] bool isPauseInForce(const NotificationPauseSnapshot& pause, Date now);
/// The end of a pause is told on the clock of the time zone given.
[[nodiscard]] std::string pauseCardTitle(const MacStatusSnapshot& snapshot, Date now,
                                         const std::string& timeZoneIdentifier);
/// The pause alone, whatever else keeps alerts away: "Paused", "Paused until ..." or "Active".
[[nodiscard]] std::string pauseTitle(const NotificationPauseSnapshot& pause, Date now,
                                     const std::string& timeZoneIdentifier);
[[nodiscard]] std::string pauseCardDetail(const MacStatusSnapshot& snapshot, Date now);

[[nodiscard]] bool isUpdateRowVisible(const MacStatusSnapshot& snapshot);

}  // namespace tallyfox
