#pragma once

#include <boost/system/error_code.hpp>
#include <string>

namespace tallyfox::linux_os {

/// A library's error as one sentence for a log line; unknown ones by the library's own words.
[[nodiscard]] std::string networkErrorDescription(const boost::system::error_code& error);

inline constexpr const char* connectionLostText = "The connection was lost.";
inline constexpr const char* timedOutText = "The connection timed out.";
inline constexpr const char* invalidRequestText = "The request is not valid.";

}  // namespace tallyfox::linux_os
