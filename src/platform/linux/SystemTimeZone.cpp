#include "platform/linux/SystemTimeZone.hpp"

#include <fmt/format.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string_view>

#include "base/ZonedCalendar.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;

/// What follows the database's folder in a path; a text without that folder may be a name itself.
std::optional<std::string> knownName(std::string_view text) {
  constexpr std::string_view folder = "/zoneinfo/";
  if (const auto at = text.rfind(folder); at != std::string_view::npos) text.remove_prefix(at + folder.size());
  // The database is kept twice, without and with leap seconds.
  for (const std::string_view variant : {"posix/", "right/"})
    if (text.starts_with(variant)) text.remove_prefix(variant.size());
  std::string name(text);
  if (!ZonedCalendar::hasTimeZone(name)) return std::nullopt;
  return name;
}

std::optional<std::string> configuredName(const fs::path& configuration) {
  const fs::path link = configuration / "localtime";
  std::error_code error;
  // The first link bears the name that the owner chose; the last file may be one that several zones share.
  if (auto name = knownName(fs::read_symlink(link, error).string())) return name;
  if (auto name = knownName(fs::canonical(link, error).string())) return name;
  std::string line;
  std::ifstream file(configuration / "timezone");
  std::getline(file, line);
  return knownName(line);
}

std::string presentOffset() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::tzset();
  ::localtime_r(&now, &local);
  const long minutes = std::labs(local.tm_gmtoff) / 60;
  return fmt::format("GMT{}{:02}:{:02}", local.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

}  // namespace

std::string systemTimeZoneIdentifier(const std::optional<std::string>& variable, const fs::path& configuration) {
  auto name = variable ? knownName(variable->starts_with(':') ? variable->substr(1) : *variable)
                       : configuredName(configuration);
  return name ? *std::move(name) : presentOffset();
}

}  // namespace tallyfox::linux_os
