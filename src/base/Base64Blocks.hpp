#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Bytes.hpp"

namespace tallyfox {

/// The long middle of a base64 conversion, many characters at a time, on processors that can; else nothing. What is
/// left is for the caller to convert group by group.

/// Encodes from the front and gives how many bytes it took, a multiple of 3. `output` has room for four characters per
/// three bytes of the whole input.
[[nodiscard]] std::size_t encodeBase64Blocks(ByteView bytes, char* output);

/// Decodes from the front and gives how many characters it took, a multiple of 4; stops before the first block with a
/// character outside of the alphabet. `output` has room for three bytes per four characters of the whole input.
[[nodiscard]] std::size_t decodeBase64Blocks(std::string_view text, std::uint8_t* output);

}  // namespace tallyfox
