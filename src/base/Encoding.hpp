#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.hpp"

namespace tallyfox {

/// Two lower-case hexadecimal digits a byte.
[[nodiscard]] std::string hexEncoded(ByteView bytes);
/// Standard alphabet, padded, without line breaks.
[[nodiscard]] std::string base64Encoded(ByteView bytes);
/// Strict: standard alphabet, right padding, nothing else. Absent otherwise.
[[nodiscard]] std::optional<Bytes> base64Decoded(std::string_view text);

}  // namespace tallyfox
