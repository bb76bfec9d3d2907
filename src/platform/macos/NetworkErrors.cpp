#include "platform/macos/NetworkErrors.hpp"

#include <algorithm>
#include <array>

namespace tallyfox::mac_os {
namespace {

struct Wording {
  long long code;
  const char* text;
};

constexpr const char* unsecuredText = "The secure connection could not be established.";
constexpr const char* unresolvedText = "The host name does not resolve.";
constexpr const char* networkDownText = "The network is unreachable.";

/// Codes of NSURLErrorDomain, as <Foundation/NSURLError.h> has them.
constexpr auto urlErrors = std::to_array<Wording>({
    {-999, cancelledText},
    {-1000, "The address is not valid."},
    {-1001, timedOutText},
    {-1002, "The address is not valid."},
    {-1003, unresolvedText},
    {-1004, "The host does not take the connection."},
    {-1005, connectionLostText},
    {-1006, unresolvedText},
    {-1009, networkDownText},
    {-1011, "The answer is not what was asked for."},
    {-1017, notHttpText},
    {-1018, networkDownText},
    {-1020, networkDownText},
    {-1022, "The system demands a secure connection to this host."},
    {-1103, frameTooLargeText},
    {-1200, unsecuredText},
    {-1201, "The certificate of the host is not valid today."},
    {-1202, "The certificate of the host is not trusted."},
    {-1203, "The certificate of the host is not trusted."},
    {-1204, "The certificate of the host is not valid yet."},
    {-1205, unsecuredText},
    {-1206, unsecuredText},
});

/// Codes of NSPOSIXErrorDomain: the Mac's own errno values, which are not those of the machine that builds the tests.
constexpr auto posixErrors = std::to_array<Wording>({
    {32, connectionLostText},  // EPIPE
    {40, frameTooLargeText},   // EMSGSIZE
    {50, networkDownText},     // ENETDOWN
    {51, networkDownText},     // ENETUNREACH
    {53, connectionLostText},  // ECONNABORTED
    {54, connectionLostText},  // ECONNRESET
    {57, connectionLostText},  // ENOTCONN: also what a receive gets once the other side has closed
    {60, timedOutText},        // ETIMEDOUT
    {61, "Connection refused."},
    {64, "The host is unreachable."},                       // EHOSTDOWN
    {65, "The host is unreachable."},                       // EHOSTUNREACH
    {89, cancelledText},                                    // ECANCELED
    {96, connectionLostText},                               // ENODATA
    {100, "The other side broke the WebSocket protocol."},  // EPROTO
});

template <typename Table>
const char* wordingOf(const Table& table, long long code) {
  const auto found = std::ranges::find(table, code, &Wording::code);
  return found == table.end() ? nullptr : found->text;
}

}  // namespace

std::string networkErrorDescription(std::string_view domain, long long code) {
  const char* text = nullptr;
  if (domain == "NSURLErrorDomain") text = wordingOf(urlErrors, code);
  if (domain == "NSPOSIXErrorDomain") text = wordingOf(posixErrors, code);
  if (text != nullptr) return text;
  return "The connection failed (" + std::string(domain) + " " + std::to_string(code) + ").";
}

std::string refusedUpgradeDescription(int status) {
  return "The relay answered the WebSocket request with HTTP " + std::to_string(status) + ".";
}

}  // namespace tallyfox::mac_os
