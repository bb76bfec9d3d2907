#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/DialogFrame.hpp"

namespace tallyfox {

/// One window of the window server's list. Entries can lack any member.
struct WindowInfo {
  std::optional<std::int32_t> ownerProcessIdentifier;
  std::optional<std::string> ownerName;
  std::optional<std::string> name;    ///< absent when the window has no title
  std::optional<std::int64_t> layer;  ///< 0 normal, above 0 panels and the like, below 0 the desktop
  std::optional<DialogFrame> bounds;  ///< what can be seen; points, top-left origin
  std::optional<double> alpha;        ///< 0 invisible to 1 opaque

  bool operator==(const WindowInfo&) const = default;
};

/// The window server's list of windows, front to back and so the higher layers first. One cheap question, independent
/// of any application. Any thread.
class WindowList {
 public:
  virtual ~WindowList() = default;
  /// With `includeAllSpaces` also windows on other workspaces and minimised ones. Empty when the server is gone.
  [[nodiscard]] virtual std::vector<WindowInfo> windows(bool includeAllSpaces) = 0;
};

}  // namespace tallyfox
