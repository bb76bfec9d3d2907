#pragma once

#include <string>
#include <string_view>

namespace tallyfox::mac_os {

inline constexpr const char* connectionLostText = "The connection was lost.";
inline constexpr const char* cancelledText = "The connection was cancelled.";
inline constexpr const char* frameTooLargeText = "A message exceeds the size limit.";
inline constexpr const char* notHttpText = "The answer is not valid HTTP.";
inline constexpr const char* timedOutText = "The connection timed out.";

/// An error of a URL session as one English sentence for a log line. The session's own words are not used: they may be
/// in the owner's language and name the address.
[[nodiscard]] std::string networkErrorDescription(std::string_view domain, long long code);

/// That the answer to a WebSocket request was no WebSocket, told by its HTTP status.
[[nodiscard]] std::string refusedUpgradeDescription(int status);

}  // namespace tallyfox::mac_os
