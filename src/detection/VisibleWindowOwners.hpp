#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "platform/Applications.hpp"
#include "platform/WindowList.hpp"

namespace tallyfox {

/// The window-list side of detection. Stateless but for the two seams; any thread.
class VisibleWindowOwners {
 public:
  VisibleWindowOwners(Applications& applications, WindowList& windowList)
      : applications_(applications), windowList_(windowList) {}

  /// One text per visible window; the set changes when a window appears, vanishes, moves, resizes or is renamed.
  [[nodiscard]] std::set<std::string> visibleWindowSignatures() const;
  /// Distinct owners of visible windows, in list order.
  [[nodiscard]] std::vector<std::int32_t> processIdentifiers(bool includeAllSpaces) const;
  [[nodiscard]] std::vector<RunningApplication> visibleRunningApplications() const;
  /// What is worth scanning: owners of visible windows on any workspace, then the other regular applications, then the
  /// other known prompt services; each process once, never the agent itself.
  [[nodiscard]] std::vector<RunningApplication> promptScanApplications() const;
  [[nodiscard]] static bool isKnownPromptService(const RunningApplication& application);
  /// Opaque enough, not behind the desktop, and at least 80 by 40 points. Entries that lack a member do not count.
  [[nodiscard]] static bool isVisible(const WindowInfo& window);

 private:
  Applications& applications_;
  WindowList& windowList_;
};

}  // namespace tallyfox
