#pragma once

#include <string_view>

namespace tallyfox {

/// Where the agent's plain lines go (standard output). Implementations are safe to call from any thread, write each
/// line whole, and flush it.
class Console {
 public:
  virtual ~Console() = default;
  /// `line` carries no line break and never a secret.
  virtual void printLine(std::string_view line) = 0;
};

}  // namespace tallyfox
