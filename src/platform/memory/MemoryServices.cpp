#include "platform/memory/MemoryServices.hpp"

#include <filesystem>

namespace tallyfox::memory {

void MemoryConsole::printLine(std::string_view line) {
  const std::scoped_lock lock(mutex_);
  lines_.emplace_back(line);
}

std::optional<std::string> MemoryEnvironment::value(const std::string& name) {
  const auto found = values_.find(name);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

std::optional<DefaultsValue> MemoryUserDefaults::object(const std::string& key) {
  const std::scoped_lock lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

void MemoryUserDefaults::setObject(const std::string& key, const DefaultsValue& value) {
  const std::scoped_lock lock(mutex_);
  values_.insert_or_assign(key, value);
  writes_.emplace_back(key, value);
}

void MemoryUserDefaults::removeObject(const std::string& key) {
  const std::scoped_lock lock(mutex_);
  values_.erase(key);
  writes_.emplace_back(key, std::nullopt);
}

bool MemoryBundle::isApplicationBundle() {
  return std::filesystem::path(path()).extension() == ".app";
}

std::optional<std::string> MemoryBundle::informationValue(const std::string& key) {
  const auto found = information.find(key);
  if (found == information.end()) return std::nullopt;
  return found->second;
}

std::string MemoryBundle::path() {
  const auto link = links.find(location);
  return link == links.end() ? location : link->second;
}

std::optional<std::expected<std::map<std::string, std::string>, std::string>> MemoryBundle::propertyList(
    const std::string& name) {
  const auto found = resources.find(name);
  if (found == resources.end()) return std::nullopt;
  return found->second;
}

namespace {

/// An entry of the lock table for as long as it lives.
class MemoryHeldLock : public HeldLock {
 public:
  MemoryHeldLock(std::shared_ptr<std::set<std::string>> held, std::string fileName)
      : held_(std::move(held)), fileName_(std::move(fileName)) {}
  ~MemoryHeldLock() override { held_->erase(fileName_); }

 private:
  std::shared_ptr<std::set<std::string>> held_;
  std::string fileName_;
};

}  // namespace

MemoryInstanceLock::MemoryInstanceLock() : held_(std::make_shared<std::set<std::string>>()) {}

LockResult MemoryInstanceLock::acquire(const std::string& fileName) {
  if (unavailable_) return {LockOutcome::unavailable, nullptr};
  if (!held_->insert(fileName).second) return {LockOutcome::heldByAnother, nullptr};
  return {LockOutcome::acquired, std::make_unique<MemoryHeldLock>(held_, fileName)};
}

bool MemoryInstanceLock::isHeld(const std::string& fileName) const {
  return held_->contains(fileName);
}

void MemoryNotifications::requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) {
  ++authorizationRequests;
  mainQueue_.post([completion = std::move(completion), answer = authorization] { completion(answer); });
}

void MemoryNotifications::add(const UserNotification& notification) {
  if (authorization == true) delivered_.push_back(notification);
}

std::expected<void, std::string> MemoryLoginItemService::registerItem() {
  ++registrations;
  if (registrationError) return std::unexpected(*registrationError);
  current = afterRegistration;
  return {};
}

class MemoryUpdater::Running : public RunningUpdater {
 public:
  Running(int& checks, std::shared_ptr<UpdaterDelegate*> delegate) : checks_(checks), delegate_(std::move(delegate)) {}
  ~Running() override { *delegate_ = nullptr; }
  void checkForUpdates() override { ++checks_; }

 private:
  int& checks_;
  std::shared_ptr<UpdaterDelegate*> delegate_;
};

std::unique_ptr<RunningUpdater> MemoryUpdater::start(UpdaterDelegate& delegate) {
  ++starts;
  *delegate_ = &delegate;
  return std::make_unique<Running>(checks, delegate_);
}

void MemoryUpdater::findScheduledUpdate(const UpdateItem& update) {
  UpdaterDelegate* const delegate = *delegate_;
  if (delegate == nullptr) return;
  const bool isShownHere = !delegate->supportsGentleScheduledUpdateReminders() ||
                           delegate->shouldHandleShowingScheduledUpdate(update, false);
  delegate->willHandleShowingUpdate(isShownHere, update);
  if (isShownHere) windows.push_back(update);
}

void MemoryUpdater::attend(const UpdateItem& update) {
  if (*delegate_ != nullptr) (*delegate_)->didReceiveUserAttention(update);
}

void MemoryUpdater::finishSession() {
  if (*delegate_ != nullptr) (*delegate_)->willFinishUpdateSession();
}

}  // namespace tallyfox::memory
