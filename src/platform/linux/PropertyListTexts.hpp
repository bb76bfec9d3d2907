#pragma once

#include <expected>
#include <map>
#include <string>

namespace tallyfox::linux_os {

/// Why a property list gives nothing.
enum class PropertyListFault { malformed, noDictionary };

/// The string members of a property list's dictionary, in well-formed UTF-8; of a key that occurs twice the last
/// counts.
using PropertyListTexts = std::expected<std::map<std::string, std::string>, PropertyListFault>;

}  // namespace tallyfox::linux_os
