#include "detection/WindowSources.hpp"

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/Limits.hpp"

namespace tallyfox {

namespace {

/// The first source of each window wins: a window is its process and its element.
std::vector<WindowSource> uniquedByWindowSignature(std::vector<WindowSource> sources) {
  std::unordered_map<std::int32_t, std::unordered_set<AXUIElement>> seen;
  std::erase_if(sources, [&seen](const WindowSource& source) {
    return !seen[source.processIdentifier].insert(source.window).second;
  });
  return sources;
}

}  // namespace

std::vector<WindowSource> WindowSources::gather() const {
  const std::vector<RunningApplication> applications = candidateApplications();
  AXReadPlan plan{.roots = {},
                  .attributes = {AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow},
                  .descendantLimit = 0};
  for (const RunningApplication& application : applications) {
    plan.roots.push_back(helpers_.accessibility().applicationElement(application.processIdentifier));
    helpers_.elements().setMessagingTimeout(plan.roots.back(), messagingTimeout);
  }
  // Open over the system-wide questions too: a silent application with the focus then costs its time-out once.
  const auto scope = helpers_.accessibility().willRead(plan);
  std::vector<WindowSource> sources;
  for (std::size_t i = 0; i < applications.size(); ++i)
    appendSources(applications[i], plan.roots[i], sources);
  appendSystemWideSources(sources);
  return uniquedByWindowSignature(std::move(sources));
}

std::vector<RunningApplication> WindowSources::candidateApplications() const {
  std::vector<RunningApplication> candidates = owners_.promptScanApplications();
  const std::int32_t own = applications_.ownProcessIdentifier();
  std::erase_if(candidates, [own](const RunningApplication& application) {
    return application.isTerminated || application.processIdentifier == own;
  });
  return candidates;
}

void WindowSources::appendSources(const RunningApplication& application, const AXUIElement& element,
                                  std::vector<WindowSource>& sources) const {
  std::vector<AXUIElement> windows = helpers_.windows(element);
  for (const AXAttribute attribute : {AXAttribute::mainWindow, AXAttribute::focusedWindow}) {
    if (auto window = helpers_.elementAttribute(element, attribute)) windows.push_back(*std::move(window));
  }
  for (AXUIElement& window : windows) {
    sources.push_back({std::move(window), application.localizedName.value_or("Unknown app"),
                       application.bundleIdentifier, application.processIdentifier});
  }
}

void WindowSources::appendSystemWideSources(std::vector<WindowSource>& sources) const {
  std::vector<AXUIElement> windows;
  if (auto window = helpers_.focusedWindow()) windows.push_back(*std::move(window));
  if (const auto focused = helpers_.focusedElement()) {
    if (auto window = helpers_.nearestWindow(*focused, limits::windowAncestors)) windows.push_back(*std::move(window));
  }
  for (AXUIElement& window : windows) {
    const auto owner = helpers_.elements().processIdentifier(window);
    if (!owner || *owner == applications_.ownProcessIdentifier()) continue;
    const auto application = applications_.application(*owner).value_or(RunningApplication{});
    sources.push_back(
        {std::move(window), application.localizedName.value_or("System prompt"), application.bundleIdentifier, *owner});
  }
}

}  // namespace tallyfox
