#pragma once

#include <chrono>
#include <cstddef>

namespace tallyfox::bench {

/// An owner with a few devices.
inline constexpr std::size_t phonesPerPairing = 2;

struct Settings {
  std::size_t sockets = 19'900;  ///< this many descriptors, and some, must be allowed
  std::chrono::milliseconds idle{45'000};
  std::chrono::milliseconds round{3'000};
  std::size_t rounds = 5;
};

/// Each prints its figures, and throws when what is measured does not work.
void idleScene(const Settings& settings);
void rateScene(const Settings& settings);

}  // namespace tallyfox::bench
