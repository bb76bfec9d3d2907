#include "base/ZonedCalendar.hpp"

#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <cstdint>
#include <memory>

#include "base/Require.hpp"

namespace tallyfox {
namespace {

using std::chrono::floor;
using std::chrono::milliseconds;

constexpr std::int32_t julianDayOf1970 = 2'440'588;

/// ICU counts in whole milliseconds.
UDate icuDate(Date date) {
  return static_cast<UDate>(floor<milliseconds>(date).time_since_epoch().count());
}

/// Absent within a day of either end of Date, where ICU's floating-point dates are not exact.
std::optional<Date> representable(UDate date) {
  constexpr auto margin = std::chrono::hours(24);
  if (date < icuDate(Date::min() + margin) || date > icuDate(Date::max() - margin)) return std::nullopt;
  return Date(milliseconds(static_cast<std::int64_t>(date)));
}

std::unique_ptr<icu::TimeZone> timeZone(const std::string& identifier) {
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(identifier)));
}

/// ICU's calendar, standing at `date`. Fails only where ICU's own data is missing.
std::unique_ptr<icu::GregorianCalendar> calendarAt(Date date, const std::string& identifier) {
  UErrorCode status = U_ZERO_ERROR;
  auto calendar =
      std::make_unique<icu::GregorianCalendar>(timeZone(identifier).release(), icu::Locale::getUS(), status);
  calendar->setTime(icuDate(date), status);
  require(U_SUCCESS(status) != 0, "ICU has a Gregorian calendar");
  calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
  return calendar;
}

}  // namespace

bool ZonedCalendar::hasTimeZone(const std::string& identifier) {
  UErrorCode status = U_ZERO_ERROR;
  UBool isInDatabase = 0;
  icu::UnicodeString canonical;
  icu::TimeZone::getCanonicalID(icu::UnicodeString::fromUTF8(identifier), canonical, isInDatabase, status);
  return U_SUCCESS(status) != 0 && isInDatabase != 0;
}

std::optional<Date> ZonedCalendar::addingDays(Date date, int days) const {
  UErrorCode status = U_ZERO_ERROR;
  const auto calendar = calendarAt(date, timeZoneIdentifier_);
  calendar->add(UCAL_DATE, days, status);
  const auto result = representable(calendar->getTime(status));
  if (U_FAILURE(status) != 0 || !result) return std::nullopt;
  return *result + (date - floor<milliseconds>(date));
}

Date ZonedCalendar::startOfDay(Date date) const {
  return settingHour(0, date).value_or(Date(floor<std::chrono::days>(date)));
}

std::optional<Date> ZonedCalendar::settingHour(int hour, Date date) const {
  UErrorCode status = U_ZERO_ERROR;
  const auto calendar = calendarAt(date, timeZoneIdentifier_);
  const std::int32_t year = calendar->get(UCAL_EXTENDED_YEAR, status);
  const std::int32_t month = calendar->get(UCAL_MONTH, status);
  const std::int32_t dayOfMonth = calendar->get(UCAL_DATE, status);
  calendar->clear();
  calendar->set(UCAL_EXTENDED_YEAR, year);
  calendar->set(UCAL_MONTH, month);
  calendar->set(UCAL_DATE, dayOfMonth);
  calendar->set(UCAL_HOUR_OF_DAY, hour);
  const UDate moment = calendar->getTime(status);
  return U_SUCCESS(status) != 0 ? representable(moment) : std::nullopt;
}

std::chrono::local_days ZonedCalendar::day(Date date) const {
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t julianDay = calendarAt(date, timeZoneIdentifier_)->get(UCAL_JULIAN_DAY, status);
  return std::chrono::local_days(std::chrono::days(julianDay - julianDayOf1970));
}

std::string ZonedCalendar::formatted(Date date, const std::string& pattern) const {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString::fromUTF8(pattern), icu::Locale::getUS(), status);
  require(U_SUCCESS(status) != 0, "ICU formats dates in American English");
  format.adoptTimeZone(timeZone(timeZoneIdentifier_).release());
  icu::UnicodeString text;
  std::string result;
  format.format(icuDate(date), text).toUTF8String(result);
  return result;
}

}  // namespace tallyfox
