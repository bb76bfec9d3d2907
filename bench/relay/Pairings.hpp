#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "load/LoadLoop.hpp"

namespace tallyfox::bench {

/// What number `index` of many clients is called, where it comes from and what it says first.
[[nodiscard]] load::Address phoneAddress(std::uint16_t port, std::size_t index);
[[nodiscard]] load::Address agentAddress(std::uint16_t port, std::size_t index);
[[nodiscard]] std::string phoneHello(std::size_t pairing, std::size_t device);
/// A result of an agent, sealed bytes and all, of about this size.
[[nodiscard]] std::string resultOf(std::size_t bytes);

/// Registers pairings 0 to `count` - 1. Throws when one is refused.
void registerPairings(std::uint16_t port, std::size_t count);

}  // namespace tallyfox::bench
