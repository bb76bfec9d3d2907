#pragma once

#include "base/Bytes.hpp"
#include "platform/linux/PropertyListTexts.hpp"

namespace tallyfox::linux_os {

/// Whether the bytes say of themselves that they are a property list in binary form.
[[nodiscard]] bool isBinaryPropertyList(ByteView content);

/// Nothing below the root's own members is visited: objects refer to each other by number, so that a few bytes can nest
/// without end or stand for more elements than any memory holds.
[[nodiscard]] PropertyListTexts decodedBinaryPropertyList(ByteView content);

}  // namespace tallyfox::linux_os
