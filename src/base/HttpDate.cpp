#include "base/HttpDate.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace tallyfox {
namespace {

using std::chrono::floor;

constexpr std::array<std::string_view, 7> dayNames = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::string_view shape = "___, 00 ___ 0000 00:00:00 GMT";

bool hasShape(std::string_view text) {
  return std::ranges::equal(text, shape, [](char c, char expected) {
    if (expected == '_') return true;
    return expected == '0' ? c >= '0' && c <= '9' : c == expected;
  });
}

/// Of digits alone.
int number(std::string_view digits) {
  int value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

}  // namespace

std::string formattedHttpDate(Date date) {
  const auto day = floor<std::chrono::days>(date);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(floor<std::chrono::seconds>(date - day));
  return fmt::format("{}, {:02} {} {:04} {:02}:{:02}:{:02} GMT", dayNames[std::chrono::weekday(day).c_encoding()],
                     unsigned(calendar.day()), monthNames[unsigned(calendar.month()) - 1], int(calendar.year()),
                     time.hours().count(), time.minutes().count(), time.seconds().count());
}

std::optional<Date> parsedHttpDate(std::string_view text) {
  if (!hasShape(text)) return std::nullopt;
  const auto month = std::ranges::find(monthNames, text.substr(8, 3)) - monthNames.begin();
  const std::chrono::year_month_day calendar(std::chrono::year(number(text.substr(12, 4))),
                                             std::chrono::month(static_cast<unsigned>(month) + 1),
                                             std::chrono::day(static_cast<unsigned>(number(text.substr(5, 2)))));
  const int hour = number(text.substr(17, 2));
  const int minute = number(text.substr(20, 2));
  const int second = number(text.substr(23, 2));
  if (!calendar.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const std::chrono::sys_days day(calendar);
  if (dayNames[std::chrono::weekday(day).c_encoding()] != text.substr(0, 3)) return std::nullopt;
  return Date(day) + std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
}

}  // namespace tallyfox
