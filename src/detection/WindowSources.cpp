#include "detection/WindowSources.hpp"

#include <algorithm>
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

GatheredWindows WindowSources::gather(const std::vector<AXAttribute>& attributes, int descendantLimit) const {
  const std::vector<RunningApplication> applications = candidateApplications();
  AXReadPlan plan{.roots = {}, .attributes = attributes, .descendantLimit = descendantLimit};
  plan.attributes.insert(plan.attributes.end(),
                         {AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow});
  for (const RunningApplication& application : applications) {
    plan.roots.push_back(helpers_.accessibility().applicationElement(application.processIdentifier));
    helpers_.elements().setMessagingTimeout(plan.roots.back(), messagingTimeout);
  }
  // Open over the system-wide questions too: a silent application with the focus then costs its time-out once.
  GatheredWindows gathered;
  gathered.scope = helpers_.accessibility().willRead(plan);
  std::vector<WindowSource> sources;
  for (std::size_t i = 0; i < applications.size(); ++i)
    appendSources(applications[i], plan.roots[i], sources);
  sources = uniquedByWindowSignature(std::move(sources));
  const auto ofApplications = static_cast<std::ptrdiff_t>(sources.size());
  appendSystemWideSources(applications, sources);
  gathered.sources = uniquedByWindowSignature(std::move(sources));

  AXReadPlan focusPlan{.roots = {}, .attributes = attributes, .descendantLimit = descendantLimit};
  for (auto source = gathered.sources.begin() + ofApplications; source != gathered.sources.end(); ++source)
    focusPlan.roots.push_back(source->window);
  if (!focusPlan.roots.empty()) gathered.focusScope = helpers_.accessibility().willRead(focusPlan);
  return gathered;
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

void WindowSources::appendSystemWideSources(const std::vector<RunningApplication>& applications,
                                            std::vector<WindowSource>& sources) const {
  std::vector<AXUIElement> windows;
  if (auto window = helpers_.focusedWindow()) windows.push_back(*std::move(window));
  if (const auto focused = helpers_.focusedElement()) {
    if (auto window = helpers_.nearestWindow(*focused, limits::windowAncestors)) windows.push_back(*std::move(window));
  }
  for (AXUIElement& window : windows) {
    const auto owner = helpers_.elements().processIdentifier(window);
    if (!owner || *owner == applications_.ownProcessIdentifier()) continue;
    const auto known = std::ranges::find(applications, *owner, &RunningApplication::processIdentifier);
    const RunningApplication application =
        known != applications.end() ? *known : applications_.application(*owner).value_or(RunningApplication{});
    sources.push_back(
        {std::move(window), application.localizedName.value_or("System prompt"), application.bundleIdentifier, *owner});
  }
}

}  // namespace tallyfox
