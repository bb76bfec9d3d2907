#include "platform/linux/LinuxWorkspaceObservation.hpp"

#include <optional>
#include <utility>

namespace tallyfox::linux_os {

LinuxWorkspaceObservation::LinuxWorkspaceObservation(X11EventSource& events, FileDescriptorWatcher& watcher,
                                                     std::function<void(const WorkspaceEvent&)> onEvent)
    : watcher_(watcher), onEvent_(std::move(onEvent)) {
  for (const auto& [id, window] : events.state().windows)
    (void)watch(window.processIdentifier);
  changes_ = events.subscribe([this](const X11Change& change) { handle(change); });
}

void LinuxWorkspaceObservation::handle(const X11Change& change) {
  using enum WorkspaceEventKind;
  std::optional<WorkspaceEventKind> kind;
  switch (change.kind) {
    case X11ChangeKind::windowOpened:
      if (watch(change.processIdentifier)) kind = launched;
      break;
    case X11ChangeKind::applicationActivated:
      kind = activated;
      break;
    case X11ChangeKind::applicationHidden:
      kind = hidden;
      break;
    case X11ChangeKind::applicationShown:
      kind = unhidden;
      break;
    case X11ChangeKind::currentDesktopChanged:
      kind = activeSpaceChanged;
      break;
    case X11ChangeKind::windowClosed:
    case X11ChangeKind::titleChanged:
    case X11ChangeKind::windowMinimized:
    case X11ChangeKind::windowRestored:
    case X11ChangeKind::windowActivated:
      break;
  }
  // The receiver may end this observation: nothing of it is touched after the call.
  if (!kind) return;
  const auto receiver = onEvent_;
  receiver({*kind, change.processIdentifier});
}

/// True when this process was not watched before and runs.
bool LinuxWorkspaceObservation::watch(std::int32_t processIdentifier) {
  if (watched_.contains(processIdentifier)) return false;
  auto process = RunningProcess::open(processIdentifier);
  if (!process) return false;
  const int descriptor = process->descriptor();
  const auto entry = watched_.emplace(processIdentifier, Watched{std::move(*process), nullptr}).first;
  entry->second.ending =
      watcher_.watchReadable(descriptor, [this, processIdentifier] { processEnded(processIdentifier); });
  return true;
}

void LinuxWorkspaceObservation::processEnded(std::int32_t processIdentifier) {
  const auto ended = watched_.extract(processIdentifier);
  const auto receiver = onEvent_;
  receiver({WorkspaceEventKind::terminated, processIdentifier});
}

}  // namespace tallyfox::linux_os
