#pragma once

#include "platform/DoctorFacts.hpp"
#include "platform/HttpClient.hpp"
#include "platform/linux/ProxySettings.hpp"

namespace tallyfox::linux_os {

/// Sends one request on the way that the agent's own go (through its proxy, with its trust in certificates) and gives
/// what can be seen on that way. Within the request's time, but for a name look-up that does not end.
[[nodiscard]] DoctorFacts::RelayHost probedRelay(const HttpRequest& request, const ProxySettings& proxies);

}  // namespace tallyfox::linux_os
