#include "platform/macos/AXReadings.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <ranges>
#include <set>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace tallyfox::mac_os {
namespace {

using Answer = AXMessages::Answer;

/// A message that failed sooner was refused, not waited for. Half of the time-out leaves room for clocks that differ.
constexpr double waitedShare = 0.5;

/// What applications alone have: of their windows, and of what is in these, it is not asked.
constexpr std::array ofApplications = {AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow,
                                       AXAttribute::focusedUIElement, AXAttribute::frontmost};

template <typename Range, typename Value>
bool holds(const Range& range, const Value& value) {
  return std::ranges::find(range, value) != std::ranges::end(range);
}

/// Whether the application has spoken: a later question would be answered alike.
bool isAnswer(const Answer& answer) {
  return answer || (answer.error() != AXError::cannotComplete && answer.error() != AXError::notTrusted);
}

}  // namespace

/// The scopes of every thread, outermost first.
class AXReadings::OpenScopes {
 public:
  void add(Scope& scope) {
    const std::scoped_lock lock(mutex_);
    ofThreads_[std::this_thread::get_id()].push_back(&scope);
  }
  void remove(Scope& scope, std::thread::id thread) {
    const std::scoped_lock lock(mutex_);
    const auto own = ofThreads_.find(thread);
    if (own == ofThreads_.end()) return;
    std::erase(own->second, &scope);
    if (own->second.empty()) ofThreads_.erase(own);
  }
  [[nodiscard]] std::vector<Scope*> ofThisThread() const {
    const std::scoped_lock lock(mutex_);
    const auto own = ofThreads_.find(std::this_thread::get_id());
    return own == ofThreads_.end() ? std::vector<Scope*>() : own->second;
  }
  [[nodiscard]] const Answer* remembered(const AXUIElement& element, AXAttribute attribute) const;
  [[nodiscard]] bool isSilent(std::int32_t processIdentifier) const;

 private:
  mutable std::mutex mutex_;
  std::map<std::thread::id, std::vector<Scope*>> ofThreads_;
};

/// One reading. Touched by the thread that opened it alone.
class AXReadings::Scope : public AXReadScope {
 public:
  explicit Scope(std::shared_ptr<OpenScopes> scopes) : scopes_(std::move(scopes)) { scopes_->add(*this); }
  ~Scope() override { scopes_->remove(*this, thread_); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  void remember(const AXUIElement& element, AXAttribute attribute, Answer answer) {
    answers_[element].insert_or_assign(attribute, std::move(answer));
  }
  void forget(const AXUIElement& element) { answers_.erase(element); }
  [[nodiscard]] const Answer* remembered(const AXUIElement& element, AXAttribute attribute) const {
    const auto reading = answers_.find(element);
    if (reading == answers_.end()) return nullptr;
    const auto answer = reading->second.find(attribute);
    return answer == reading->second.end() ? nullptr : &answer->second;
  }
  void silence(std::int32_t processIdentifier) { silent_.insert(processIdentifier); }
  [[nodiscard]] bool isSilent(std::int32_t processIdentifier) const { return silent_.contains(processIdentifier); }

 private:
  const std::thread::id thread_ = std::this_thread::get_id();
  std::shared_ptr<OpenScopes> scopes_;
  std::unordered_map<AXUIElement, std::map<AXAttribute, Answer>> answers_;
  std::set<std::int32_t> silent_;  ///< 0: whoever answers for the system-wide element
};

const Answer* AXReadings::OpenScopes::remembered(const AXUIElement& element, AXAttribute attribute) const {
  for (const Scope* scope : ofThisThread() | std::views::reverse)
    if (const Answer* answer = scope->remembered(element, attribute)) return answer;
  return nullptr;
}

bool AXReadings::OpenScopes::isSilent(std::int32_t processIdentifier) const {
  return std::ranges::any_of(ofThisThread(), [&](const Scope* scope) { return scope->isSilent(processIdentifier); });
}

AXReadings::AXReadings(AXMessages& messages, Clock& clock)
    : messages_(messages), clock_(clock), scopes_(std::make_shared<OpenScopes>()) {}

AXReadings::~AXReadings() = default;

template <typename Ask>
auto AXReadings::message(const AXUIElement& element, Ask ask) {
  using Result = std::invoke_result_t<Ask, Seconds>;
  const AXAddressee to = messages_.addressee(element);
  const bool isSystemWide = to.kind == AXAddressee::Kind::systemWide;
  if (scopes_->isSilent(to.processIdentifier) || (isSystemWide && scopes_->isSilent(0)))
    return Result(std::unexpect, AXError::cannotComplete);
  const Seconds timeout = timeouts_.of(isSystemWide ? 0 : to.processIdentifier);
  const Seconds start = clock_.continuous();
  Result result = ask(timeout);
  const bool isTimedOut =
      !result && result.error() == AXError::cannotComplete && clock_.continuous() - start >= timeout * waitedShare;
  // Who had the focus when the system-wide element was asked is not certain: no application is silenced for that.
  if (isTimedOut)
    for (Scope* scope : scopes_->ofThisThread())
      scope->silence(isSystemWide ? 0 : to.processIdentifier);
  return result;
}

std::expected<AXValue, AXError> AXReadings::copyAttribute(const AXUIElement& element, AXAttribute attribute) {
  if (const Answer* remembered = scopes_->remembered(element, attribute)) return *remembered;
  return message(element, [&](Seconds timeout) { return messages_.copyAttribute(element, attribute, timeout); });
}

std::expected<void, AXError> AXReadings::setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                      const AXValue& value) {
  for (Scope* scope : scopes_->ofThisThread())
    scope->forget(element);
  return message(element, [&](Seconds timeout) { return messages_.setAttribute(element, attribute, value, timeout); });
}

std::expected<std::vector<std::string>, AXError> AXReadings::copyActionNames(const AXUIElement& element) {
  return message(element, [&](Seconds timeout) { return messages_.copyActionNames(element, timeout); });
}

std::expected<void, AXError> AXReadings::performAction(const AXUIElement& element, std::string_view action) {
  for (Scope* scope : scopes_->ofThisThread())
    scope->forget(element);
  return message(element, [&](Seconds timeout) { return messages_.performAction(element, action, timeout); });
}

void AXReadings::setTimeout(const AXUIElement& element, Seconds timeout) {
  const AXAddressee to = messages_.addressee(element);
  if (to.kind == AXAddressee::Kind::systemWide) timeouts_.set(0, timeout);
  if (to.kind == AXAddressee::Kind::application) timeouts_.set(to.processIdentifier, timeout);
}

std::unique_ptr<AXReadScope> AXReadings::open(const AXReadPlan& plan) {
  auto scope = std::make_unique<Scope>(scopes_);
  read(*scope, plan);
  return scope;
}

void AXReadings::read(Scope& scope, const AXReadPlan& plan) {
  const bool wantsWindows = holds(plan.attributes, AXAttribute::windows);
  for (const AXUIElement& root : plan.roots) {
    switch (messages_.addressee(root).kind) {
      case AXAddressee::Kind::systemWide:
        break;  // what has the focus is asked of the moment
      case AXAddressee::Kind::application:
        if (wantsWindows) {
          readApplication(scope, root, plan);
        } else {
          walk(scope, root, plan.attributes, plan.descendantLimit);
        }
        break;
      case AXAddressee::Kind::element:
        walk(scope, root, plan.attributes, plan.descendantLimit);
        break;
    }
  }
}

void AXReadings::readApplication(Scope& scope, const AXUIElement& application, const AXReadPlan& plan) {
  std::vector<AXAttribute> own;
  std::vector<AXAttribute> ofWindows;
  for (const AXAttribute attribute : plan.attributes)
    (holds(ofApplications, attribute) ? own : ofWindows).push_back(attribute);
  fetch(scope, application, own);
  std::vector<AXUIElement> windows;
  for (const AXAttribute attribute : {AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow}) {
    if (!holds(own, attribute)) continue;
    for (const AXUIElement& window : rememberedElements(application, attribute))
      if (!holds(windows, window)) windows.push_back(window);
  }
  for (const AXUIElement& window : windows)
    walk(scope, window, ofWindows, plan.descendantLimit);
}

void AXReadings::walk(Scope& scope, const AXUIElement& root, const std::vector<AXAttribute>& attributes,
                      int descendantLimit) {
  std::vector<AXAttribute> wanted = attributes;
  if (descendantLimit > 0 && !holds(wanted, AXAttribute::children)) wanted.push_back(AXAttribute::children);
  std::vector<AXUIElement> stack{root};
  for (std::int64_t remaining = std::int64_t{std::max(descendantLimit, 0)} + 1; !stack.empty() && remaining > 0;
       --remaining) {
    const AXUIElement element = std::move(stack.back());
    stack.pop_back();
    fetch(scope, element, wanted);
    if (descendantLimit > 0)
      for (AXUIElement& child : rememberedElements(element, AXAttribute::children))
        stack.push_back(std::move(child));
  }
}

void AXReadings::fetch(Scope& scope, const AXUIElement& element, const std::vector<AXAttribute>& attributes) {
  std::vector<AXAttribute> missing;
  for (const AXAttribute attribute : attributes)
    if (scopes_->remembered(element, attribute) == nullptr && !holds(missing, attribute)) missing.push_back(attribute);
  if (missing.empty()) return;
  auto answers = message(element, [&](Seconds timeout) { return messages_.copyAttributes(element, missing, timeout); });
  if (answers && answers->size() == missing.size()) {
    for (std::size_t i = 0; i < missing.size(); ++i)
      if (isAnswer((*answers)[i])) scope.remember(element, missing[i], std::move((*answers)[i]));
  } else if (!answers && answers.error() == AXError::invalidElement) {
    for (const AXAttribute attribute : missing)
      scope.remember(element, attribute, std::unexpected(AXError::invalidElement));
  }
}

std::vector<AXUIElement> AXReadings::rememberedElements(const AXUIElement& element, AXAttribute attribute) const {
  const Answer* answer = scopes_->remembered(element, attribute);
  if (answer == nullptr || !*answer) return {};
  if (const auto* elements = std::get_if<std::vector<AXUIElement>>(&**answer)) return *elements;
  if (const auto* single = std::get_if<AXUIElement>(&**answer)) return {*single};
  return {};
}

}  // namespace tallyfox::mac_os
