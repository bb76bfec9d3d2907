#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Url.hpp"

namespace tallyfox {

/// The relay's HTTP base address for its WebSocket address: wss gives https, everything else http; user, host and port
/// stay, path, query and fragment go, "/" is trimmed from both ends. Absent when the address does not parse.
[[nodiscard]] std::optional<std::string> backendBaseURL(std::string_view relayURL);

/// True for wss with a host, and for ws to this machine itself (localhost, 127.0.0.1, ::1).
[[nodiscard]] bool isAllowedRelayURL(const Url& url);

}  // namespace tallyfox
