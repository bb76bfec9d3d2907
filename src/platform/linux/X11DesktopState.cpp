#include "platform/linux/X11DesktopState.hpp"

#include <algorithm>

namespace tallyfox::linux_os {
namespace {

using enum X11ChangeKind;

const X11WindowState* find(const X11DesktopState& state, XWindowID id) {
  const auto found = state.windows.find(id);
  return found == state.windows.end() ? nullptr : &found->second;
}

/// Keeps the order of kinds, and within a kind that of the calls.
void add(std::vector<X11Change>& changes, X11Change change) {
  changes.insert(std::ranges::upper_bound(changes, change.kind, {}, &X11Change::kind), change);
}

/// The window that `state` has under this number, if it is the same one.
const X11WindowState* sameWindow(const X11DesktopState& state, XWindowID id, const X11WindowState& window) {
  const X11WindowState* const other = find(state, id);
  return other != nullptr && other->processIdentifier == window.processIdentifier ? other : nullptr;
}

void compareWindows(const X11DesktopState& before, const X11DesktopState& after, std::vector<X11Change>& changes) {
  for (const auto& [id, window] : before.windows)
    if (sameWindow(after, id, window) == nullptr) add(changes, {windowClosed, window.processIdentifier});
  for (const auto& [id, window] : after.windows) {
    const X11WindowState* const earlier = sameWindow(before, id, window);
    if (earlier == nullptr) {
      add(changes, {windowOpened, window.processIdentifier});
      continue;
    }
    if (earlier->title != window.title) add(changes, {titleChanged, window.processIdentifier});
    if (earlier->isMinimized != window.isMinimized)
      add(changes, {window.isMinimized ? windowMinimized : windowRestored, window.processIdentifier});
  }
}

/// Per process with windows: whether all of them are minimised.
std::map<std::int32_t, bool> hiddenProcesses(const X11DesktopState& state) {
  std::map<std::int32_t, bool> hidden;
  for (const auto& [id, window] : state.windows) {
    if (window.processIdentifier == 0) continue;
    const auto [entry, isNew] = hidden.try_emplace(window.processIdentifier, window.isMinimized);
    if (!isNew) entry->second = entry->second && window.isMinimized;
  }
  return hidden;
}

void compareProcesses(const X11DesktopState& before, const X11DesktopState& after, std::vector<X11Change>& changes) {
  const auto earlier = hiddenProcesses(before);
  for (const auto& [process, isHidden] : hiddenProcesses(after)) {
    const auto found = earlier.find(process);
    if (found != earlier.end() && found->second != isHidden)
      add(changes, {isHidden ? applicationHidden : applicationShown, process});
  }
}

void compareFocus(const X11DesktopState& before, const X11DesktopState& after, std::vector<X11Change>& changes) {
  const X11WindowState* const now = after.active ? find(after, *after.active) : nullptr;
  if (now == nullptr) return;
  const X11WindowState* const earlier = before.active ? find(before, *before.active) : nullptr;
  const bool isSameProcess = earlier != nullptr && earlier->processIdentifier == now->processIdentifier;
  if (isSameProcess && before.active == after.active) return;
  if (!isSameProcess) add(changes, {applicationActivated, now->processIdentifier});
  add(changes, {windowActivated, now->processIdentifier});
}

}  // namespace

std::vector<X11Change> changesBetween(const X11DesktopState& before, const X11DesktopState& after) {
  std::vector<X11Change> changes;
  compareWindows(before, after, changes);
  compareProcesses(before, after, changes);
  compareFocus(before, after, changes);
  if (before.currentDesktop && after.currentDesktop && before.currentDesktop != after.currentDesktop)
    add(changes, {currentDesktopChanged, 0});
  return changes;
}

}  // namespace tallyfox::linux_os
