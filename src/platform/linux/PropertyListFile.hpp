#pragma once

#include <expected>
#include <map>
#include <string>

#include "base/Bytes.hpp"

namespace tallyfox::linux_os {

/// The string members of a property list, XML or binary, in well-formed UTF-8; members of other types are left out. An
/// error text when the bytes are no property list or hold no dictionary.
[[nodiscard]] std::expected<std::map<std::string, std::string>, std::string> decodedPropertyList(ByteView content);

}  // namespace tallyfox::linux_os
