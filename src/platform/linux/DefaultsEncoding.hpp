#pragma once

#include <expected>
#include <map>
#include <string>

#include "base/Json.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox::linux_os {

/// The stored form of preferences: an object with {"type": ..., "value": ...} for each key, so that a value comes back
/// as the type it had. Dates are microseconds since 1970 UTC, data is base64, doubles that JSON lacks are texts.
[[nodiscard]] Json defaultsJson(const std::map<std::string, DefaultsValue>& values);
[[nodiscard]] std::expected<std::map<std::string, DefaultsValue>, DecodingError> decodedDefaults(const Json& stored);

}  // namespace tallyfox::linux_os
