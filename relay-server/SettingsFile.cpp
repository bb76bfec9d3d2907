#include "SettingsFile.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

namespace tallyfox::server {
namespace {

constexpr std::string_view blanks = " \t\r";
/// Far above what settings come to.
constexpr std::size_t greatestBytes = 64U * 1024U;

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

std::expected<std::vector<Setting>, SettingsError> settingsIn(const std::filesystem::path& file) {
  std::ifstream stream(file);
  if (!stream || std::filesystem::is_directory(file)) {
    const int reason = stream ? EISDIR : errno;
    return std::unexpected(SettingsError{fmt::format("Unable to read {}: {}", file.string(), std::strerror(reason))});
  }
  std::vector<Setting> settings;
  std::size_t number = 0;
  std::size_t bytes = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    bytes += line.size();
    const auto broken = [&](std::string_view why) {
      return std::unexpected(SettingsError{fmt::format("{}, line {}: {}", file.string(), number, why)});
    };
    if (bytes > greatestBytes) return broken("the file is too long");
    const std::string_view text = trimmed(line);
    if (text.empty() || text.front() == '#') continue;
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) return broken("no name = value");
    const std::string_view name = trimmed(text.substr(0, equals));
    if (name.empty() || name.starts_with('-')) return broken("no name of an option without its dashes");
    settings.push_back({.name = fmt::format("--{}", name), .value = std::string(trimmed(text.substr(equals + 1)))});
  }
  return settings;
}

}  // namespace tallyfox::server
