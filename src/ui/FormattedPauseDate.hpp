#pragma once

#include <string>

#include "base/Date.hpp"

namespace tallyfox {

/// The end of an alert pause in the words that follow "Paused until ", on the owner's clock in the time zone given, in
/// American English like the texts around it, to the minute:
///   3:10 PM                      today
///   tomorrow at 9:00 AM          the next calendar day
///   Wednesday at 9:00 AM         two to six calendar days on, where a weekday means one day
///   Mar 21, 2026 at 9:00 AM      any other day
[[nodiscard]] std::string formattedPauseDate(Date end, Date now, const std::string& timeZoneIdentifier);

}  // namespace tallyfox
