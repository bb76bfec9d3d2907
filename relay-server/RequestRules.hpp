#pragma once

#include <cstddef>
#include <optional>

#include "HttpRoutes.hpp"

namespace tallyfox::server {

/// Whether the request asks for a WebSocket. `Connection` and `Upgrade` may be lists, over several lines.
[[nodiscard]] bool asksForWebSocket(const HttpRequest& request);

/// The answer to a request that RFC 9112 or RFC 6455 wants refused before anything is looked up; absent for one in
/// order. `bytesBehind` have come after an upgrade's header, though its sender has to wait for the answer.
[[nodiscard]] std::optional<HttpResponse> ruleBreach(const HttpRequest& request, std::size_t bytesBehind);

}  // namespace tallyfox::server
