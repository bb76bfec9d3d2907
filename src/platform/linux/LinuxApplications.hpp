#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Applications.hpp"
#include "platform/linux/DesktopFiles.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11EventSource.hpp"

namespace tallyfox::linux_os {

/// The applications of an X session: every process with a managed window, and the accessible programs without one.
/// Ordered by process id. The name is the windows' class, else the kernel's name of the process; the bundle identifier
/// is the id of the desktop file that the windows belong to. Not regular are this process and those whose windows are
/// all panels or the desktop.
class LinuxApplications : public Applications {
 public:
  /// Process ids of programs that offer their elements. Called from any thread; empty counts as none.
  using AccessiblePrograms = std::function<std::vector<std::int32_t>()>;

  struct Dependencies {
    std::shared_ptr<X11Desktop> desktop;
    X11EventSource& events;
    FileDescriptorWatcher& watcher;
    std::vector<std::filesystem::path> dataDirectories;  ///< as DesktopFiles takes them
    AccessiblePrograms accessiblePrograms;
  };

  explicit LinuxApplications(Dependencies dependencies);

  std::vector<RunningApplication> runningApplications() override;
  std::optional<RunningApplication> application(std::int32_t processIdentifier) override;
  /// For the agent's own identifiers also every agent of this session, with windows or without: the clients of this
  /// display that belong to the same user and run a program file named "tallyfox". That includes this process. An agent
  /// of the same user on another display is not one of them.
  std::vector<RunningApplication> applicationsWithBundleIdentifier(const std::string& identifier) override;
  /// SIGTERM, to applications and agents as found by the calls above and never to this process.
  void terminate(std::int32_t processIdentifier) override;
  std::int32_t ownProcessIdentifier() override;
  /// An application counts as launched with its first managed window, and as terminated when its process ends.
  std::unique_ptr<Subscription> observe(std::function<void(const WorkspaceEvent&)> onEvent) override;

 private:
  /// What was found out about one process.
  struct Found {
    DesktopFileClues clues;
    bool isRegular = false;
  };
  [[nodiscard]] std::map<std::int32_t, Found> foundByWindows() const;
  void addAccessiblePrograms(std::map<std::int32_t, Found>& found) const;
  [[nodiscard]] RunningApplication described(std::int32_t processIdentifier, const Found& found);
  [[nodiscard]] std::vector<std::int32_t> agents() const;

  Dependencies dependencies_;
  DesktopFiles desktopFiles_;
};

}  // namespace tallyfox::linux_os
