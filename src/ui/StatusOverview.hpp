#pragma once

#include <string>

#include "base/Date.hpp"
#include "base/Json.hpp"
#include "ui/MacStatusSnapshot.hpp"

namespace tallyfox {

/// The status window as lines of text (the last without its line break), in the window's own words; the end of a pause
/// is told on the clock of the time zone given. Nothing that other programs or phones named can move a terminal's
/// cursor.
[[nodiscard]] std::string statusOverview(const MacStatusSnapshot& snapshot, Date now,
                                         const std::string& timeZoneIdentifier);

/// The same state for programs. Of the pairing code only whether there is one.
[[nodiscard]] Json statusJson(const MacStatusSnapshot& snapshot);

}  // namespace tallyfox
