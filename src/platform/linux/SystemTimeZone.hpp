#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tallyfox::linux_os {

/// The name of the time zone that programs started with this TZ variable keep: the variable's zone, else the one that
/// `configuration`/localtime links to, else the one named in `configuration`/timezone. Where none of these gives a name
/// of the time-zone database (a rule such as "CET-1CEST"), the C library's present offset as "GMT+01:00".
[[nodiscard]] std::string systemTimeZoneIdentifier(const std::optional<std::string>& variable,
                                                   const std::filesystem::path& configuration);

}  // namespace tallyfox::linux_os
