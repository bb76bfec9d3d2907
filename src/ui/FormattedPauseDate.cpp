#include "ui/FormattedPauseDate.hpp"

#include "base/ZonedCalendar.hpp"

namespace tallyfox {

std::string formattedPauseDate(Date end, Date now, const std::string& timeZoneIdentifier) {
  const ZonedCalendar calendar(timeZoneIdentifier);
  const auto daysAhead = (calendar.day(end) - calendar.day(now)).count();
  const auto pattern = [&] {
    if (daysAhead == 0) return "h:mm a";
    if (daysAhead == 1) return "'tomorrow at' h:mm a";
    if (daysAhead > 1 && daysAhead < 7) return "EEEE 'at' h:mm a";
    return "MMM d, yyyy 'at' h:mm a";
  };
  return calendar.formatted(end, pattern());
}

}  // namespace tallyfox
