#pragma once

#include <boost/beast/http/fields.hpp>

namespace tallyfox::server {

/// Whether a browser says that a page of another site asks. Browsers let any page open a WebSocket anywhere and name
/// that page's origin, which must then be the address that was asked for: the `Host`, or, behind a trusted proxy that
/// asks under another name, its `X-Forwarded-Host`. Other programs send no `Origin`.
[[nodiscard]] bool isFromAnotherSite(const boost::beast::http::fields& fields, bool throughTrustedProxy);

}  // namespace tallyfox::server
