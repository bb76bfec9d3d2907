#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include <expected>

#include "platform/AXTypes.hpp"
#include "platform/macos/CFRef.hpp"

namespace tallyfox::mac_os {

/// The seam's word for an error of the system. `processIdentifier` is the element's, 0 when not known: a program that
/// has ended answers as little as one that hangs, and only the first is gone.
[[nodiscard]] AXError errorOf(::AXError error, std::int32_t processIdentifier);

/// What an attribute holds; nothing is taken on trust. A place holder of a batched answer is the error that it holds. A
/// kind of value that the agent has no use for (a range, an address, a list of other things than elements) is none.
[[nodiscard]] std::expected<AXValue, AXError> decodedValue(CFTypeRef value, std::int32_t processIdentifier);

/// Null when the system cannot make the object, or an element is of another backend.
[[nodiscard]] CFRef<CFTypeRef> encodedValue(const AXValue& value);

}  // namespace tallyfox::mac_os
