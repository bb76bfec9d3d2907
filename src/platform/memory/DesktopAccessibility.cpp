#include "platform/memory/DesktopAccessibility.hpp"

#include <algorithm>
#include <ranges>

#include "platform/memory/DesktopReadScope.hpp"

namespace tallyfox::memory {

namespace {

using Kind = MemoryElementIdentity::Kind;

constexpr Seconds defaultTimeout{0.2};

std::string described(const MemoryElementIdentity& element) {
  if (element.kind == Kind::application) return "pid " + std::to_string(element.processIdentifier);
  return std::to_string(element.id);
}

}  // namespace

bool DesktopAccessibility::isProcessTrusted() {
  const std::scoped_lock lock(model_.mutex);
  return model_.isTrusted;
}

AXUIElement DesktopAccessibility::applicationElement(std::int32_t processIdentifier) {
  return MemoryElementIdentity::application(processIdentifier);
}

AXUIElement DesktopAccessibility::systemWideElement() {
  return MemoryElementIdentity::systemWide();
}

std::expected<AXUIElement, AXError> DesktopAccessibility::elementAtPosition(AXPoint point) {
  const std::scoped_lock lock(model_.mutex);
  if (!model_.isTrusted) return std::unexpected(AXError::notTrusted);
  const ElementID window = model_.windowAt(point);
  if (window == 0) return std::unexpected(AXError::noValue);
  const MemoryElementIdentity question(Kind::systemWide, 0, model_.element(window).processIdentifier);
  if (const Outcome sent = message(question); !sent) return std::unexpected(sent.error());
  return model_.handle(model_.elementAt(point));
}

std::expected<AXValue, AXError> DesktopAccessibility::copyAttribute(const AXUIElement& element, AXAttribute attribute) {
  const std::scoped_lock lock(model_.mutex);
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
  for (Scope* scope : scopesOfThisThread() | std::views::reverse)
    if (const auto* remembered = scope->remembered(identity, attribute)) return *remembered;
  if (const Outcome sent = message(identity); !sent) return std::unexpected(sent.error());
  return model_.read(identity, attribute);
}

std::expected<void, AXError> DesktopAccessibility::setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                                const AXValue& value) {
  const std::scoped_lock lock(model_.mutex);
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
  forget(identity);
  if (model_.isTrusted)
    model_.deeds.push_back("set " + described(identity) + " " + std::string(attributeName(attribute)));
  if (const Outcome sent = message(identity); !sent) return sent;
  return model_.set(identity, attribute, value);
}

std::expected<std::vector<std::string>, AXError> DesktopAccessibility::copyActionNames(const AXUIElement& element) {
  const std::scoped_lock lock(model_.mutex);
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
  if (const Outcome sent = message(identity); !sent) return std::unexpected(sent.error());
  if (identity.kind != Kind::element) return std::vector<std::string>();
  return model_.actionNames(identity.id);
}

std::expected<void, AXError> DesktopAccessibility::performAction(const AXUIElement& element, std::string_view action) {
  const std::scoped_lock lock(model_.mutex);
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
  forget(identity);
  if (model_.isTrusted) {
    const bool isRaise = action == ax_action::raise;
    model_.deeds.push_back(isRaise ? "raise " + described(identity)
                                   : "press " + described(identity) + " " + std::string(action));
    if (!isRaise && model_.onTouch)
      model_.onTouch({Touch::Kind::action, std::string(action),
                      identity.kind == Kind::element ? model_.buttonOf(identity.id, action) : 0});
  }
  if (const Outcome sent = message(identity); !sent) return sent;
  if (identity.kind != Kind::element) return std::unexpected(AXError::unsupported);
  return model_.perform(identity.id, action);
}

std::expected<std::int32_t, AXError> DesktopAccessibility::processIdentifier(const AXUIElement& element) {
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
  if (identity.kind == Kind::systemWide) return std::unexpected(AXError::unsupported);
  return identity.processIdentifier;
}

void DesktopAccessibility::setMessagingTimeout(const AXUIElement& element, Seconds timeout) {
  const std::scoped_lock lock(model_.mutex);
  const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
  if (identity.kind != Kind::element) timeouts_[{mainQueue_.isCurrent(), identity.processIdentifier}] = timeout;
}

std::int32_t DesktopAccessibility::processBehind(const MemoryElementIdentity& element) const {
  const bool isFocusQuestion = element.kind == Kind::systemWide && element.processIdentifier == 0;
  return isFocusQuestion ? model_.frontmost : element.processIdentifier;
}

Outcome DesktopAccessibility::message(const MemoryElementIdentity& element) {
  if (!model_.isTrusted) return std::unexpected(AXError::notTrusted);
  const auto scopes = scopesOfThisThread();
  const std::int32_t pid = processBehind(element);
  if (std::ranges::any_of(scopes, [&](const Scope* scope) { return scope->isSilent(pid); }))
    return std::unexpected(AXError::cannotComplete);
  traffic.messages += 1;
  traffic.rounds += 1;
  return reach(element);
}

Outcome DesktopAccessibility::reach(const MemoryElementIdentity& element) {
  const std::int32_t pid = processBehind(element);
  if (model_.onMessage) {
    const auto answer = model_.onMessage({pid, element.kind == Kind::element ? element.id : 0});
    if (answer == AXError::cannotComplete) return timeOut(element);
    if (answer) return std::unexpected(*answer);
  }
  const auto application = model_.applications.find(pid);
  if (application != model_.applications.end() && application->second.fault == Fault::hang) return timeOut(element);
  const bool isSystemWide = element.kind == Kind::systemWide;
  const bool isGone =
      element.kind == Kind::element ? !model_.exists(element.id) : application == model_.applications.end();
  if (isGone && !isSystemWide) return std::unexpected(AXError::invalidElement);
  return {};
}

std::unexpected<AXError> DesktopAccessibility::timeOut(const MemoryElementIdentity& element) {
  const std::int32_t pid = processBehind(element);
  for (Scope* scope : scopesOfThisThread())
    scope->silence(pid);
  const std::pair<bool, std::int32_t> key{mainQueue_.isCurrent(), element.kind == Kind::systemWide ? 0 : pid};
  const auto found = timeouts_.find(key);
  const Seconds wait = found == timeouts_.end() ? defaultTimeout : found->second;
  // Every caller holds the lock once.
  model_.mutex.unlock();
  clock_.sleep(wait);
  model_.mutex.lock();
  return std::unexpected(AXError::cannotComplete);
}

void DesktopAccessibility::forget(const MemoryElementIdentity& element) {
  for (Scope* scope : scopesOfThisThread())
    scope->forget(element);
}

std::vector<DesktopAccessibility::Scope*> DesktopAccessibility::scopesOfThisThread() const {
  std::vector<Scope*> own;
  std::ranges::copy_if(scopes_, std::back_inserter(own),
                       [&](const Scope* scope) { return scope->isOfMainThread() == mainQueue_.isCurrent(); });
  return own;
}

std::unique_ptr<AXReadScope> DesktopAccessibility::willRead(const AXReadPlan& plan) {
  const std::scoped_lock lock(model_.mutex);
  auto scope = std::make_unique<Scope>(model_.mutex, scopes_, mainQueue_.isCurrent());
  if (!model_.isTrusted) return scope;
  std::size_t rounds = 0;
  for (const AXUIElement& planned : plan.roots) {
    const MemoryElementIdentity& root = MemoryElementIdentity::of(planned);
    if (scope->isSilent(processBehind(root))) continue;
    Scope::Cost cost{.elements = 1, .levels = 1};
    const bool isOfWindows = root.kind == Kind::application &&
                             std::ranges::find(plan.attributes, AXAttribute::windows) != plan.attributes.end();
    if (reach(root))
      cost = isOfWindows ? scope->readWindows(model_, planned, plan) : scope->read(model_, planned, plan);
    traffic.messages += cost.elements;
    rounds = std::max(rounds, cost.levels);
  }
  traffic.rounds += rounds;
  return scope;
}

}  // namespace tallyfox::memory
