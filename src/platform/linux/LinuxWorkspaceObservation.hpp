#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "platform/Applications.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/RunningProcess.hpp"
#include "platform/linux/X11EventSource.hpp"

namespace tallyfox::linux_os {

/// Workspace events while it lives, made of the desktop's changes and the ends of the processes that had windows.
class LinuxWorkspaceObservation : public Subscription {
 public:
  LinuxWorkspaceObservation(X11EventSource& events, FileDescriptorWatcher& watcher,
                            std::function<void(const WorkspaceEvent&)> onEvent);

 private:
  struct Watched {
    RunningProcess process;
    std::unique_ptr<Subscription> ending;
  };
  void handle(const X11Change& change);
  [[nodiscard]] bool watch(std::int32_t processIdentifier);
  void processEnded(std::int32_t processIdentifier);

  FileDescriptorWatcher& watcher_;
  std::function<void(const WorkspaceEvent&)> onEvent_;
  std::map<std::int32_t, Watched> watched_;
  std::unique_ptr<Subscription> changes_;
};

}  // namespace tallyfox::linux_os
