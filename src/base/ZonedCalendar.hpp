#pragma once

#include <chrono>
#include <string>
#include <utility>

#include "base/Calendar.hpp"

namespace tallyfox {

/// The Gregorian calendar in one time zone, by ICU's time-zone database. A plain value: neither the process's locale
/// nor its time zone plays a part. What would lie at or beyond the ends of Date (year 294,247) cannot be computed.
class ZonedCalendar : public Calendar {
 public:
  /// A name of the time-zone database ("Europe/Berlin") or a fixed offset ("GMT+05:30"); any other text counts as UTC.
  explicit ZonedCalendar(std::string timeZoneIdentifier) : timeZoneIdentifier_(std::move(timeZoneIdentifier)) {}
  /// Whether the time-zone database has this name; exact, case-sensitive.
  [[nodiscard]] static bool hasTimeZone(const std::string& identifier);

  std::optional<Date> addingDays(Date date, int days) const override;
  Date startOfDay(Date date) const override;
  std::optional<Date> settingHour(int hour, Date date) const override;
  /// The calendar day that `date` lies in.
  [[nodiscard]] std::chrono::local_days day(Date date) const;
  /// `date` by a pattern of Unicode's date field symbols ("MMM d, yyyy"), with American English names.
  [[nodiscard]] std::string formatted(Date date, const std::string& pattern) const;

 private:
  std::string timeZoneIdentifier_;
};

}  // namespace tallyfox
