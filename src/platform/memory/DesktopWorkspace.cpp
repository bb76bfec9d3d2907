#include "platform/memory/DesktopWorkspace.hpp"

#include <algorithm>
#include <ranges>
#include <utility>

namespace tallyfox::memory {

std::expected<std::unique_ptr<Subscription>, AXError> DesktopWorkspace::observe(
    std::int32_t processIdentifier, const std::vector<std::string>& notifications,
    std::function<void(const std::string& notification)> onNotification) {
  const std::scoped_lock lock(model_->mutex);
  if (!model_->isTrusted) return std::unexpected(AXError::notTrusted);
  if (!model_->applications.contains(processIdentifier)) return std::unexpected(AXError::invalidElement);
  return model_->events.notifications.add(
      [processIdentifier, notifications](const DesktopEvents::Notification& notification) {
        return notification.processIdentifier == processIdentifier &&
               std::ranges::count(notifications, notification.name) > 0;
      },
      [callback = std::move(onNotification)](const DesktopEvents::Notification& notification) {
        callback(notification.name);
      });
}

std::unique_ptr<Subscription> DesktopWorkspace::observeTrustChanges(std::function<void()> onChange) {
  const std::scoped_lock lock(model_->mutex);
  return model_->events.trust.add([](const auto&) { return true; },
                                  [callback = std::move(onChange)](const auto&) { callback(); });
}

std::vector<RunningApplication> DesktopWorkspace::runningApplications() {
  const std::scoped_lock lock(model_->mutex);
  std::vector<RunningApplication> running;
  for (const DesktopApplication& application : model_->applications | std::views::values)
    running.push_back(application.record);
  return running;
}

std::optional<RunningApplication> DesktopWorkspace::application(std::int32_t processIdentifier) {
  const std::scoped_lock lock(model_->mutex);
  const auto found = model_->applications.find(processIdentifier);
  if (found == model_->applications.end()) return std::nullopt;
  return found->second.record;
}

std::vector<RunningApplication> DesktopWorkspace::applicationsWithBundleIdentifier(const std::string& identifier) {
  std::vector<RunningApplication> matching = runningApplications();
  std::erase_if(matching, [&](const RunningApplication& one) { return one.bundleIdentifier != identifier; });
  return matching;
}

/// The program quits in its own time; one that hangs does not.
void DesktopWorkspace::terminate(std::int32_t processIdentifier) {
  const std::scoped_lock lock(model_->mutex);
  if (processIdentifier == ownProcessIdentifier()) return;
  model_->deeds.push_back("terminate pid " + std::to_string(processIdentifier));
  mainQueue_.post([asked = std::weak_ptr(model_), processIdentifier] {
    const auto model = asked.lock();
    if (!model) return;
    const std::scoped_lock held(model->mutex);
    const auto found = model->applications.find(processIdentifier);
    if (found != model->applications.end() && found->second.fault != Fault::hang) model->quit(processIdentifier);
  });
}

std::int32_t DesktopWorkspace::ownProcessIdentifier() {
  return memory::ownProcessIdentifier;
}

std::unique_ptr<Subscription> DesktopWorkspace::observe(std::function<void(const WorkspaceEvent&)> onEvent) {
  const std::scoped_lock lock(model_->mutex);
  return model_->events.workspace.add([](const auto&) { return true; }, std::move(onEvent));
}

std::vector<WindowInfo> DesktopWorkspace::windows(bool includeAllSpaces) {
  const std::scoped_lock lock(model_->mutex);
  std::vector<WindowInfo> list;
  if (model_->isWindowServerGone) return list;
  for (const ElementID window : model_->windowsFrontToBack()) {
    const DesktopElement& element = model_->element(window);
    const std::optional<DialogFrame> bounds = model_->frame(window);
    if (!bounds || (element.isMinimized && !includeAllSpaces)) continue;
    const std::string title = model_->text(window, AXAttribute::title);
    list.push_back({.ownerProcessIdentifier = element.processIdentifier,
                    .ownerName = model_->applications.at(element.processIdentifier).record.localizedName,
                    .name = title.empty() ? std::nullopt : std::optional(title),
                    .layer = element.layer,
                    .bounds = bounds,
                    .alpha = element.alpha});
  }
  return list;
}

}  // namespace tallyfox::memory
