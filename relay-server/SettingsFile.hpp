#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

#include "SettingsError.hpp"

namespace tallyfox::server {

/// One option and its value, as a command line or a file gives it.
struct Setting {
  std::string name;  ///< such as --listen
  std::string value;
  bool operator==(const Setting&) const = default;
};

/// The lines of a file, "name = value", in their order. Names are those of the options without dashes; white space
/// around either is not part of it; empty lines and lines that begin with # do not count. The error names the line.
[[nodiscard]] std::expected<std::vector<Setting>, SettingsError> settingsIn(const std::filesystem::path& file);

}  // namespace tallyfox::server
