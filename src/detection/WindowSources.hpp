#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "detection/AXHelpers.hpp"
#include "detection/VisibleWindowOwners.hpp"
#include "platform/Applications.hpp"

namespace tallyfox {

/// A window worth looking at, with its owner.
struct WindowSource {
  AXUIElement window;
  std::string appName;
  std::optional<std::string> bundleIdentifier;
  std::int32_t processIdentifier = 0;

  bool operator==(const WindowSource&) const = default;
};

/// Gathers the windows that may be prompts: those of every application worth scanning and the one with the focus, each
/// once, never one of the agent's own. Stateless but for the seams; any thread.
class WindowSources {
 public:
  WindowSources(const AXHelpers& helpers, Applications& applications, WindowList& windowList)
      : helpers_(helpers), applications_(applications), owners_(applications, windowList) {}

  /// In scan order. Applications that do not answer contribute none.
  [[nodiscard]] std::vector<WindowSource> gather() const;

 private:
  [[nodiscard]] std::vector<RunningApplication> candidateApplications() const;
  void appendSources(const RunningApplication& application, const AXUIElement& element,
                     std::vector<WindowSource>& sources) const;
  void appendSystemWideSources(std::vector<WindowSource>& sources) const;

  AXHelpers helpers_;
  Applications& applications_;
  VisibleWindowOwners owners_;
};

}  // namespace tallyfox
