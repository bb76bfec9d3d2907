#include "platform/linux/LinuxWindowList.hpp"

#include <string>

#include "platform/linux/RunningProcess.hpp"

namespace tallyfox::linux_os {
namespace {

std::optional<std::string> ownerNameOf(const XWindow& window) {
  if (!window.className.empty()) return window.className;
  if (!window.processIdentifier) return std::nullopt;
  std::string name = processName(*window.processIdentifier);
  if (name.empty()) return std::nullopt;
  return name;
}

}  // namespace

std::vector<WindowInfo> LinuxWindowList::windows(bool includeAllSpaces) {
  std::vector<WindowInfo> infos;
  for (const XWindow& window : desktop_->windowsFrontToBack()) {
    const bool isOnScreen = window.isMapped && !window.isMinimized && window.isOnCurrentDesktop;
    if (!isOnScreen && !includeAllSpaces) continue;
    infos.push_back({.ownerProcessIdentifier = window.processIdentifier,
                     .ownerName = ownerNameOf(window),
                     .name = window.title.empty() ? std::nullopt : std::optional(window.title),
                     .layer = window.layer,
                     .bounds = window.visibleFrame,
                     .alpha = window.opacity});
  }
  return infos;
}

}  // namespace tallyfox::linux_os
