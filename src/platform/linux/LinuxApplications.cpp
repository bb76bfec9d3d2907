#include "platform/linux/LinuxApplications.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/linux/LinuxWorkspaceObservation.hpp"
#include "platform/linux/RunningProcess.hpp"
#include "platform/linux/X11Layer.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::array<std::string_view, 2> agentIdentifiers = {"com.tallyfox.agent", "com.quarrystone.agent"};
constexpr std::string_view agentProgram = "tallyfox";

bool isAgent(std::int32_t processIdentifier) {
  return isOwnUsersProcess(processIdentifier) && executableName(processIdentifier) == agentProgram;
}

}  // namespace

LinuxApplications::LinuxApplications(Dependencies dependencies)
    : dependencies_(std::move(dependencies)), desktopFiles_(dependencies_.dataDirectories) {}

std::map<std::int32_t, LinuxApplications::Found> LinuxApplications::foundByWindows() const {
  std::map<std::int32_t, Found> found;
  for (const XWindow& window : dependencies_.desktop->windowsFrontToBack()) {
    if (!window.processIdentifier) continue;
    Found& entry = found[*window.processIdentifier];
    if (entry.clues.className.empty()) entry.clues.className = window.className;
    if (entry.clues.instanceName.empty()) entry.clues.instanceName = window.instanceName;
    if (entry.clues.applicationID.empty()) entry.clues.applicationID = window.applicationID;
    entry.isRegular = entry.isRegular || isInTaskList(window.layer);
  }
  return found;
}

void LinuxApplications::addAccessiblePrograms(std::map<std::int32_t, Found>& found) const {
  if (!dependencies_.accessiblePrograms) return;
  // A program without managed windows may still show unmanaged ones: some log-out and password prompts are such.
  for (const std::int32_t processIdentifier : dependencies_.accessiblePrograms())
    if (processIdentifier > 0) found.try_emplace(processIdentifier, Found{.clues = {}, .isRegular = true});
}

RunningApplication LinuxApplications::described(std::int32_t processIdentifier, const Found& found) {
  RunningApplication application;
  application.processIdentifier = processIdentifier;
  application.bundleIdentifier = desktopFiles_.identifier(found.clues);
  std::string name = found.clues.className.empty() ? processName(processIdentifier) : found.clues.className;
  if (!name.empty()) application.localizedName = std::move(name);
  application.isTerminated = !isProcessRunning(processIdentifier);
  application.isRegular = found.isRegular && processIdentifier != ownProcessIdentifier();
  return application;
}

std::vector<RunningApplication> LinuxApplications::runningApplications() {
  auto found = foundByWindows();
  addAccessiblePrograms(found);
  std::vector<RunningApplication> applications;
  for (const auto& [processIdentifier, entry] : found)
    applications.push_back(described(processIdentifier, entry));
  return applications;
}

std::optional<RunningApplication> LinuxApplications::application(std::int32_t processIdentifier) {
  auto found = foundByWindows();
  if (!found.contains(processIdentifier)) addAccessiblePrograms(found);
  const auto entry = found.find(processIdentifier);
  if (entry == found.end()) return std::nullopt;
  return described(processIdentifier, entry->second);
}

std::vector<std::int32_t> LinuxApplications::agents() const {
  std::vector<std::int32_t> processes = dependencies_.desktop->clientProcessIdentifiers();
  std::erase_if(processes, [](std::int32_t process) { return !isAgent(process); });
  return processes;
}

std::vector<RunningApplication> LinuxApplications::applicationsWithBundleIdentifier(const std::string& identifier) {
  std::vector<RunningApplication> applications = runningApplications();
  std::erase_if(applications, [&](const auto& application) { return application.bundleIdentifier != identifier; });
  if (std::ranges::find(agentIdentifiers, identifier) == agentIdentifiers.end()) return applications;
  for (const std::int32_t process : agents()) {
    if (std::ranges::find(applications, process, &RunningApplication::processIdentifier) != applications.end())
      continue;
    applications.push_back({.processIdentifier = process,
                            .bundleIdentifier = identifier,
                            .localizedName = processName(process),
                            .isTerminated = !isProcessRunning(process),
                            .isRegular = false});
  }
  return applications;
}

void LinuxApplications::terminate(std::int32_t processIdentifier) {
  if (processIdentifier <= 1 || processIdentifier == ownProcessIdentifier()) return;
  // Held before it is looked up: if the process ends in between, no other one gets the signal.
  const auto process = RunningProcess::open(processIdentifier);
  if (!process) return;
  const auto known = agents();
  if (std::ranges::find(known, processIdentifier) != known.end() || application(processIdentifier))
    process->requestTermination();
}

std::int32_t LinuxApplications::ownProcessIdentifier() {
  return getpid();
}

std::unique_ptr<Subscription> LinuxApplications::observe(std::function<void(const WorkspaceEvent&)> onEvent) {
  return std::make_unique<LinuxWorkspaceObservation>(dependencies_.events, dependencies_.watcher, std::move(onEvent));
}

}  // namespace tallyfox::linux_os
