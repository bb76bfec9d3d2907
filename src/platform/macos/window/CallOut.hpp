#pragma once

#include <utility>

namespace tallyfox::mac_os {

/// Calls into C++ from a method that the system called: an exception that leaves `callback` ends the process here,
/// instead of unwinding frames of the system's that know nothing of it.
template <typename Callback, typename... Arguments>
decltype(auto) callOut(const Callback& callback, Arguments&&... arguments) noexcept {
  return callback(std::forward<Arguments>(arguments)...);
}

}  // namespace tallyfox::mac_os
