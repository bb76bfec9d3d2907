#pragma once

#include <string>
#include <string_view>

namespace tallyfox::server {

/// As one gzip member, at the greatest compression; the same for the same content.
[[nodiscard]] std::string gzipCompressed(std::string_view content);

}  // namespace tallyfox::server
