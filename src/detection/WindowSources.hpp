#pragma once

#include <cstdint>
#include <memory>
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

/// Windows that may be prompts, in scan order. What was read of them and their content stays at hand as long as this
/// lives.
struct GatheredWindows {
  std::unique_ptr<AXReadScope> scope;
  std::unique_ptr<AXReadScope> focusScope;  ///< within the other
  std::vector<WindowSource> sources;
};

/// Gathers the windows that may be prompts: those of every application worth scanning and the one with the focus, each
/// once, never one of the agent's own. Stateless but for the seams; any thread.
class WindowSources {
 public:
  WindowSources(const AXHelpers& helpers, Applications& applications, WindowList& windowList)
      : helpers_(helpers), applications_(applications), owners_(applications, windowList) {}

  /// Applications that do not answer contribute none. Of each window `attributes` and `descendantLimit` descendants are
  /// read ahead.
  [[nodiscard]] GatheredWindows gather(const std::vector<AXAttribute>& attributes, int descendantLimit) const;

 private:
  [[nodiscard]] std::vector<RunningApplication> candidateApplications() const;
  void appendSources(const RunningApplication& application, const AXUIElement& element,
                     std::vector<WindowSource>& sources) const;
  void appendSystemWideSources(const std::vector<RunningApplication>& applications,
                               std::vector<WindowSource>& sources) const;

  AXHelpers helpers_;
  Applications& applications_;
  VisibleWindowOwners owners_;
};

}  // namespace tallyfox
