#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "base/HttpHeaders.hpp"

namespace tallyfox::mac_os {

inline constexpr const char* invalidRequestText = "The request is not valid.";

/// The address as URL sessions take it: absolute, with a host, the scheme in lower case and one of `schemes`, without a
/// fragment. Absent for any other text: a session raises an exception for a scheme that it does not know.
[[nodiscard]] std::optional<std::string> requestAddress(std::string_view url,
                                                        std::initializer_list<std::string_view> schemes);

/// Whether this may be sent: well-formed headers, valid UTF-8 everywhere.
[[nodiscard]] bool isSendable(std::string_view method, const HeaderList& headers);

}  // namespace tallyfox::mac_os
