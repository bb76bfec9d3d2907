#pragma once

#include <source_location>
#include <string_view>

namespace tallyfox {

/// Stops the process with one line on standard error. For broken invariants only, never for bad input.
[[noreturn]] void invariantBroken(std::string_view what, std::source_location where);

/// An assertion that stays on in production: an agent that presses buttons must not run on after a broken invariant.
inline void require(bool holds, std::string_view what, std::source_location where = std::source_location::current()) {
  if (!holds) [[unlikely]]
    invariantBroken(what, where);
}

}  // namespace tallyfox
