#include "detection/VisibleWindowOwners.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>

#include "detection/PromptRules.hpp"
#include "detection/ScreenBounds.hpp"

namespace tallyfox {

namespace {

constexpr double leastAlpha = 0.01;
constexpr double leastWidth = 80;
constexpr double leastHeight = 40;

}  // namespace

bool VisibleWindowOwners::isVisible(const WindowInfo& window) {
  if (!window.alpha || !window.layer || !window.bounds) return false;
  return *window.alpha > leastAlpha && *window.layer >= 0 && isWithinScreenBounds(*window.bounds) &&
         window.bounds->width >= leastWidth && window.bounds->height >= leastHeight;
}

std::set<std::string> VisibleWindowOwners::visibleWindowSignatures() const {
  std::set<std::string> signatures;
  for (const WindowInfo& window : windowList_.windows(false)) {
    if (!window.ownerProcessIdentifier || !isVisible(window)) continue;
    signatures.insert(fmt::format("{}|{}|{}|{}|{}", *window.ownerProcessIdentifier, window.ownerName.value_or(""),
                                  window.name.value_or(""), *window.layer, window.bounds->identity()));
  }
  return signatures;
}

std::vector<std::int32_t> VisibleWindowOwners::processIdentifiers(bool includeAllSpaces) const {
  std::vector<std::int32_t> owners;
  std::unordered_set<std::int32_t> seen;
  for (const WindowInfo& window : windowList_.windows(includeAllSpaces)) {
    const std::int32_t owner = window.ownerProcessIdentifier.value_or(0);
    if (owner >= 1 && isVisible(window) && seen.insert(owner).second) owners.push_back(owner);
  }
  return owners;
}

std::vector<RunningApplication> VisibleWindowOwners::visibleRunningApplications() const {
  std::vector<RunningApplication> owners;
  for (const std::int32_t owner : processIdentifiers(false)) {
    if (auto application = applications_.application(owner)) owners.push_back(*std::move(application));
  }
  return owners;
}

std::vector<RunningApplication> VisibleWindowOwners::promptScanApplications() const {
  std::vector<RunningApplication> chosen;
  std::unordered_set<std::int32_t> seen = {applications_.ownProcessIdentifier()};
  const auto choose = [&](const RunningApplication& application) {
    if (seen.insert(application.processIdentifier).second) chosen.push_back(application);
  };
  const std::vector<RunningApplication> running = applications_.runningApplications();
  for (const std::int32_t owner : processIdentifiers(true)) {
    // Asked for one by one only where the list lacks it: a question may read the whole desktop.
    const auto listed = std::ranges::find(running, owner, &RunningApplication::processIdentifier);
    if (listed != running.end()) {
      choose(*listed);
    } else if (const auto application = applications_.application(owner)) {
      choose(*application);
    }
  }
  for (const RunningApplication& application : running) {
    if (application.isRegular) choose(application);
  }
  for (const RunningApplication& application : running) {
    if (isKnownPromptService(application)) choose(application);
  }
  return chosen;
}

bool VisibleWindowOwners::isKnownPromptService(const RunningApplication& application) {
  return tallyfox::isKnownPromptService(application.localizedName.value_or(""), application.bundleIdentifier);
}

}  // namespace tallyfox
