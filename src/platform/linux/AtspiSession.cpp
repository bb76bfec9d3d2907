#include "platform/linux/AtspiSession.hpp"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace tallyfox::linux_os {
namespace {

/// Programs whose toolkit is remembered; beyond, all are asked again. A desktop runs some dozens.
constexpr std::size_t rememberedToolkits = 512;
/// A shape is learnt anew after this, should a program move an object and keep the order of all of them.
constexpr std::chrono::seconds shapeLifetime{10};
/// Dialogs whose shape is remembered, or that they cannot be searched; beyond, all are searched anew.
constexpr std::size_t rememberedDialogs = 512;

}  // namespace

AtspiSession::AtspiSession(std::shared_ptr<X11Desktop> desktop, std::shared_ptr<const SignsOfLife> signs,
                           std::function<void(const std::string&)> onSilence, std::string sessionBusAddress)
    : desktop_(std::move(desktop)),
      signs_(std::move(signs)),
      onSilence_(std::move(onSilence)),
      status_(std::move(sessionBusAddress)) {}

AtspiSession::~AtspiSession() = default;

AtspiBus* AtspiSession::bus() {
  if (bus_ && bus_->isOpen()) return bus_.get();
  bus_.reset();
  directory_ = RegistryDirectory();
  toolkits_.clear();
  shapes_.clear();
  const auto address = status_.accessibilityBusAddress();
  if (!address) return nullptr;
  auto bus = AtspiBus::connect(*address);
  if (!bus) return nullptr;
  bus_ = std::move(*bus);
  bus_->setOnSilence(onSilence_);
  return bus_.get();
}

void AtspiSession::beginQuestion() {
  // A scope is one question.
  if (!bus_ || !scopes_.empty()) return;
  bus_->catchUp();
  for (const std::int32_t process : signs_->since(signsSeen_))
    for (const AtspiReference& root : directory_.knownRootsOf(process))
      bus_->retry(root.busName);
}

std::vector<AtspiReference> AtspiSession::rootsOf(std::int32_t processIdentifier) {
  // A question to oneself waits for the thread that asks it.
  if (processIdentifier == ::getpid()) return {};
  AtspiBus* connection = bus();
  if (connection == nullptr) return {};
  const std::vector<AtspiReference>& roots = directory_.rootsOf(processIdentifier, *connection);
  if (const auto timeout = timeouts_.find(processIdentifier); timeout != timeouts_.end()) {
    for (const AtspiReference& root : roots)
      connection->setTimeout(root.busName, timeout->second);
  }
  return roots;
}

std::int32_t AtspiSession::processOf(const std::string& busName) {
  AtspiBus* connection = bus();
  return connection == nullptr ? 0 : directory_.processOf(busName, *connection);
}

void AtspiSession::setTimeout(std::int32_t processIdentifier, std::chrono::microseconds timeout) {
  timeouts_[processIdentifier] = timeout;
}

std::optional<Toolkit> AtspiSession::toolkitOf(const std::string& busName) const {
  const auto known = toolkits_.find(busName);
  if (known == toolkits_.end()) return std::nullopt;
  return known->second;
}

void AtspiSession::learnToolkit(const std::string& busName, Toolkit toolkit) {
  if (toolkits_.size() >= rememberedToolkits) toolkits_.clear();
  toolkits_[busName] = toolkit;
}

const DialogShape* AtspiSession::shapeOf(const AtspiReference& dialog) const {
  const auto known = shapes_.find(dialog);
  return known != shapes_.end() && known->second ? &*known->second : nullptr;
}

bool AtspiSession::isFresh(const DialogShape& shape) {
  return DialogShape::Clock::now() - shape.learntAt < shapeLifetime;
}

bool AtspiSession::isSearchable(const AtspiReference& dialog) const {
  const auto known = shapes_.find(dialog);
  return known == shapes_.end() || known->second;
}

void AtspiSession::learnShape(const AtspiReference& dialog, std::optional<DialogShape> shape) {
  if (shapes_.size() >= rememberedDialogs) shapes_.clear();
  shapes_[dialog] = std::move(shape);
}

void AtspiSession::openScope(AtspiReading& scope) {
  if (scopes_.empty()) {
    beginQuestion();
    if (AtspiBus* connection = bus()) directory_.refresh(*connection);
  }
  directory_.setFrozen(true);
  scopes_.push_back({.reading = &scope});
}

void AtspiSession::closeScope(AtspiReading& scope) {
  std::erase_if(scopes_, [&scope](const OpenScope& open) { return open.reading == &scope; });
  directory_.setFrozen(!scopes_.empty());
}

AtspiReading* AtspiSession::scope() {
  return scopes_.empty() || scopes_.back().isEnded ? nullptr : scopes_.back().reading;
}

void AtspiSession::endReadings() {
  for (OpenScope& open : scopes_)
    open.isEnded = true;
}

}  // namespace tallyfox::linux_os
