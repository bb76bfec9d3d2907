#include "base/Date.hpp"

#include <fmt/format.h>

namespace tallyfox {
namespace {

/// Takes fixed-width fields from the front of a text.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : rest_(text) {}

  std::optional<int> digits(std::size_t count) {
    if (rest_.size() < count) return std::nullopt;
    int value = 0;
    for (const char c : rest_.substr(0, count)) {
      if (c < '0' || c > '9') return std::nullopt;
      value = value * 10 + (c - '0');
    }
    rest_.remove_prefix(count);
    return value;
  }
  bool take(char expected) {
    if (rest_.empty() || rest_.front() != expected) return false;
    rest_.remove_prefix(1);
    return true;
  }
  /// Microseconds of the digits behind a point; digits beyond the sixth are dropped.
  std::optional<std::chrono::microseconds> fraction() {
    std::int64_t value = 0;
    std::int64_t unit = 1'000'000;
    std::size_t count = 0;
    for (; count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '9'; ++count) {
      unit /= 10;
      value += (rest_[count] - '0') * unit;
    }
    if (count == 0) return std::nullopt;
    rest_.remove_prefix(count);
    return std::chrono::microseconds(value);
  }
  [[nodiscard]] bool atEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

constexpr Date firstWritable = std::chrono::sys_days(std::chrono::year(0) / 1 / 1);
constexpr Date endOfWritable = std::chrono::sys_days(std::chrono::year(10'000) / 1 / 1);

std::optional<std::chrono::minutes> parsedZone(FieldReader& reader) {
  if (reader.take('Z')) return std::chrono::minutes(0);
  const bool east = reader.take('+');
  if (!east && !reader.take('-')) return std::nullopt;
  const auto hours = reader.digits(2);
  reader.take(':');
  const auto minutes = reader.digits(2);
  if (!hours || !minutes || *hours > 23 || *minutes > 59) return std::nullopt;
  const std::chrono::minutes offset(*hours * 60 + *minutes);
  return east ? offset : -offset;
}

}  // namespace

std::string formattedISO8601(Date date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  const auto days = std::chrono::floor<std::chrono::days>(seconds);
  const std::chrono::year_month_day day(days);
  const std::chrono::hh_mm_ss time(seconds - days);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(day.year()),
                     static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()), time.hours().count(),
                     time.minutes().count(), time.seconds().count());
}

std::optional<Date> parsedISO8601(std::string_view text) {
  FieldReader reader(text);
  const auto year = reader.digits(4);
  if (!year || !reader.take('-')) return std::nullopt;
  const auto month = reader.digits(2);
  if (!month || !reader.take('-')) return std::nullopt;
  const auto day = reader.digits(2);
  if (!day || !reader.take('T')) return std::nullopt;
  const auto hour = reader.digits(2);
  if (!hour || !reader.take(':')) return std::nullopt;
  const auto minute = reader.digits(2);
  if (!minute || !reader.take(':')) return std::nullopt;
  const auto second = reader.digits(2);
  if (!second) return std::nullopt;
  std::optional<std::chrono::microseconds> fraction(0);
  if (reader.take('.')) fraction = reader.fraction();
  const auto zone = fraction ? parsedZone(reader) : std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  if (!zone || !reader.atEnd() || !date.ok() || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  const Date moment = Date(std::chrono::sys_days(date)) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
                      std::chrono::seconds(*second) + *fraction - *zone;
  // An offset can lead out of the years that have four digits, and so out of what can be written.
  if (moment < firstWritable || moment >= endOfWritable) return std::nullopt;
  return moment;
}

}  // namespace tallyfox
