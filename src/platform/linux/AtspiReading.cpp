#include "platform/linux/AtspiReading.hpp"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "base/Limits.hpp"
#include "platform/linux/AtspiTasks.hpp"
#include "platform/linux/AtspiWindowMatcher.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* accessible = "org.a11y.atspi.Accessible";
constexpr const char* properties = "org.freedesktop.DBus.Properties";

/// From here on an object is wide: lists of thousands of rows build an object for each child that is asked for.
constexpr std::int32_t wideChildren = 200;
/// Of a wide object only so many, the last ones, count as children: the walk begins there and goes no further.
constexpr std::int32_t wideChildrenRead = limits::refindDescendants;
/// Containers around the focus may claim it too; dialogs nest a few deep.
constexpr std::int32_t mostFocusClaims = 16;
/// Nesting beyond this is a loop.
constexpr int mostAncestors = 64;

AtspiCall propertyOf(const AtspiReference& reference, const char* interface, const char* name) {
  return {reference, properties, "Get", {std::string(interface), std::string(name)}};
}

/// Every object has a role and states: one that says otherwise is gone.
template <typename T>
std::expected<T, AXError> ofLiving(std::expected<T, AXError> answer) {
  if (!answer && answer.error() == AXError::unsupported) return std::unexpected(AXError::invalidElement);
  return answer;
}

std::expected<std::uint32_t, AXError> livingRole(AtspiBus::Answer answer) {
  return ofLiving(reply::unsignedNumber(answer));
}

std::expected<AtspiStates, AXError> livingStates(AtspiBus::Answer answer) {
  auto states = ofLiving(reply::states(answer));
  if (states && has(*states, AtspiState::defunct)) return std::unexpected(AXError::invalidElement);
  return states;
}

}  // namespace

const AtspiFacts* AtspiReading::found(const AtspiReference& reference) const {
  const auto known = facts_.find(reference);
  if (known != facts_.end()) return &known->second;
  return outer_ == nullptr ? nullptr : outer_->found(reference);
}

AtspiFacts& AtspiReading::own(const AtspiReference& reference) {
  const auto known = facts_.find(reference);
  if (known != facts_.end()) return known->second;
  const AtspiFacts* outer = outer_ == nullptr ? nullptr : outer_->found(reference);
  return facts_.emplace(reference, outer == nullptr ? AtspiFacts{} : *outer).first->second;
}

const AtspiFacts& AtspiReading::known(const AtspiReference& reference) {
  return own(reference);
}

bool AtspiReading::isPlanned(const AtspiReference& reference) const {
  const AtspiFacts* outer = outer_ == nullptr ? nullptr : outer_->found(reference);
  return outer != nullptr && outer->children.has_value();
}

template <typename T>
void AtspiReading::ask(const AtspiReference& reference, AtspiCall call, AtspiFact<T> AtspiFacts::* field,
                       std::expected<T, AXError> (*decoded)(AtspiBus::Answer), AtspiStep& step) {
  ++step.outstanding;
  session_.bus()->send(std::move(call), [this, reference, field, decoded, &step](AtspiBus::Answer answer) {
    own(reference).*field = decoded(answer);
    step.noteAnswer();
  });
}

bool AtspiReading::want(const AtspiReference& reference, FactSet facts, AtspiStep& step) {
  const AtspiFacts& known = own(reference);
  FactSet missing = static_cast<FactSet>(facts & ~knownOf(known));
  if ((missing & fact::toolkit) != 0 && session_.toolkitOf(reference.busName))
    missing &= static_cast<FactSet>(~fact::toolkit);
  if (missing == 0) return false;
  if (session_.bus() == nullptr) {
    refuse(reference, missing);
    return true;
  }
  const auto isMissing = [missing](FactSet one) { return (missing & one) != 0; };
  // How many children there are decides how they are asked for.
  if (isMissing(fact::children)) askChildren(reference, step);
  if (isMissing(fact::childCount) && (reference.isApplicationRoot() || !isMissing(fact::children)))
    ask(reference, propertyOf(reference, accessible, "ChildCount"), &AtspiFacts::childCount, reply::variantNumber,
        step);
  if (isMissing(fact::role))
    ask(reference, {reference, accessible, "GetRole", {}}, &AtspiFacts::role, livingRole, step);
  if (isMissing(fact::states))
    ask(reference, {reference, accessible, "GetState", {}}, &AtspiFacts::states, livingStates, step);
  if (isMissing(fact::name))
    ask(reference, propertyOf(reference, accessible, "Name"), &AtspiFacts::name, reply::variantText, step);
  if (isMissing(fact::description))
    ask(reference, propertyOf(reference, accessible, "Description"), &AtspiFacts::description, reply::variantText,
        step);
  if (isMissing(fact::parent))
    ask(reference, propertyOf(reference, accessible, "Parent"), &AtspiFacts::parent, reply::variantReference, step);
  if (isMissing(fact::text)) {
    ask(reference, {reference, "org.a11y.atspi.Text", "GetText", {std::int32_t{0}, std::int32_t{-1}}},
        &AtspiFacts::text, reply::text, step);
  }
  if (isMissing(fact::extents)) {
    ask(reference, {reference, "org.a11y.atspi.Component", "GetExtents", {std::uint32_t{0}}}, &AtspiFacts::extents,
        reply::extents, step);
  }
  if (isMissing(fact::toolkit)) askToolkit(reference, step);
  if (isMissing(fact::focusClaims)) askFocusClaims(reference, step);
  return true;
}

void AtspiReading::refuse(const AtspiReference& reference, FactSet facts) {
  AtspiFacts& known = own(reference);
  constexpr std::unexpected refusal(AXError::notTrusted);
  if ((facts & fact::role) != 0) known.role = refusal;
  if ((facts & fact::states) != 0) known.states = refusal;
  if ((facts & fact::childCount) != 0) known.childCount = refusal;
  if ((facts & fact::children) != 0) known.children = refusal;
  if ((facts & fact::name) != 0) known.name = refusal;
  if ((facts & fact::description) != 0) known.description = refusal;
  if ((facts & fact::text) != 0) known.text = refusal;
  if ((facts & fact::extents) != 0) known.extents = refusal;
  if ((facts & fact::parent) != 0) known.parent = refusal;
  if ((facts & fact::focusClaims) != 0) known.focusClaims = refusal;
  if ((facts & fact::toolkit) != 0) session_.learnToolkit(reference.busName, Toolkit::unknown);
}

void AtspiReading::askToolkit(const AtspiReference& reference, AtspiStep& step) {
  ++step.outstanding;
  const AtspiReference root{.busName = reference.busName, .path = std::string(atspiRootPath)};
  session_.bus()->send(propertyOf(root, "org.a11y.atspi.Application", "ToolkitName"),
                       [this, name = reference.busName, &step](AtspiBus::Answer answer) {
                         const auto toolkit = reply::variantText(answer);
                         session_.learnToolkit(name, toolkit ? toolkitNamed(*toolkit) : Toolkit::unknown);
                         step.noteAnswer();
                       });
}

/// Asked of programs that can search; others are walked.
void AtspiReading::askFocusClaims(const AtspiReference& reference, AtspiStep& step) {
  ask(reference,
      {reference,
       "org.a11y.atspi.Collection",
       "GetMatches",
       {AtspiSearch{.states = bit(AtspiState::focused), .roles = {}, .count = mostFocusClaims}}},
      &AtspiFacts::focusClaims, reply::references, step);
}

void AtspiReading::askChildren(const AtspiReference& reference, AtspiStep& step) {
  const AtspiFact<std::int32_t>& count = own(reference).childCount;
  // An application's own children are its windows, which are few.
  if (!count && !reference.isApplicationRoot()) {
    ask(reference, propertyOf(reference, accessible, "ChildCount"), &AtspiFacts::childCount, reply::variantNumber,
        step);
    return;
  }
  const std::int32_t children = count ? count->value_or(1) : 1;
  if (children <= 0) {
    learnChildren(reference, {});
    return;
  }
  if (children > wideChildren) {
    askLastChildren(reference, children, step);
    return;
  }
  ++step.outstanding;
  session_.bus()->send({reference, accessible, "GetChildren", {}}, [this, reference, &step](AtspiBus::Answer answer) {
    learnChildren(reference, reply::references(answer));
    step.noteAnswer();
  });
}

void AtspiReading::askLastChildren(const AtspiReference& reference, std::int32_t count, AtspiStep& step) {
  struct Gathering {
    std::vector<AtspiReference> children = std::vector<AtspiReference>(static_cast<std::size_t>(wideChildrenRead));
    std::int32_t outstanding = wideChildrenRead;
  };
  const auto gathering = std::make_shared<Gathering>();
  ++step.outstanding;
  for (std::int32_t place = 0; place < wideChildrenRead; ++place) {
    session_.bus()->send({reference, accessible, "GetChildAtIndex", {count - wideChildrenRead + place}},
                         [this, reference, gathering, place, &step](AtspiBus::Answer answer) {
                           if (auto child = reply::reference(answer))
                             gathering->children[static_cast<std::size_t>(place)] = std::move(*child);
                           if (--gathering->outstanding > 0) return;
                           learnChildren(reference, std::move(gathering->children));
                           step.noteAnswer();
                         });
  }
}

void AtspiReading::learnChildren(const AtspiReference& reference,
                                 std::expected<std::vector<AtspiReference>, AXError> children) {
  if (children) {
    std::erase_if(*children,
                  [&reference](const AtspiReference& child) { return child.isNull() || child == reference; });
    if (std::ssize(*children) > wideChildren) children->erase(children->begin(), children->end() - wideChildrenRead);
    for (const AtspiReference& child : *children) {
      if (AtspiFacts& facts = own(child); !facts.parent) facts.parent = reference;
    }
  }
  own(reference).children = std::move(children);
}

void AtspiReading::learnShownChildren(const AtspiReference& reference, std::vector<AtspiReference> children) {
  learnChildren(reference, std::move(children));
  own(reference).isFoundShown = true;
}

const AtspiFacts& AtspiReading::read(const AtspiReference& reference, FactSet facts) {
  AtspiStep step;
  while (want(reference, facts, step)) {
    if (AtspiBus* bus = session_.bus()) bus->run();
  }
  return own(reference);
}

bool AtspiReading::isKnownAsText(const AtspiReference& reference) const {
  const auto natureOf = [this](const AtspiReference& object) {
    const AtspiFacts* facts = found(object);
    return facts != nullptr && facts->role && *facts->role ? roleInfo(**facts->role).nature : AtspiNature::plain;
  };
  const AtspiNature nature = natureOf(reference);
  if (nature != AtspiNature::text && nature != AtspiNature::textContainer) return false;
  const AtspiFacts* facts = found(reference);
  return !facts->parent || !*facts->parent || natureOf(**facts->parent) != AtspiNature::button;
}

std::vector<AtspiReference> AtspiReading::knownShownChildren(const AtspiReference& reference) {
  const AtspiFacts* facts = found(reference);
  if (facts == nullptr || !facts->children || !*facts->children) return {};
  std::vector<AtspiReference> shown = **facts->children;
  std::erase_if(shown, [this](const AtspiReference& child) {
    const AtspiFacts* about = found(child);
    return about != nullptr && about->states && *about->states && !isShown(child, **about->states);
  });
  return shown;
}

std::expected<std::vector<AtspiReference>, AXError> AtspiReading::shownChildren(const AtspiReference& reference) {
  const auto children = *read(reference, fact::children).children;
  if (!children) return std::unexpected(children.error());
  if (!isPlanned(reference)) {
    AtspiStep step;
    bool isMissing = false;
    for (const AtspiReference& child : *children)
      isMissing |= want(child, fact::states | fact::toolkit, step);
    if (AtspiBus* bus = session_.bus(); bus != nullptr && isMissing) bus->run();
  }
  return knownShownChildren(reference);
}

std::vector<AtspiReference> AtspiReading::walk(const AtspiReference& root, int limit, FactSet facts) {
  WalkTask task(*this, root, limit, {.always = facts});
  task.advance();
  if (AtspiBus* bus = session_.bus()) bus->run();
  return task.order();
}

const AtspiScreen& AtspiReading::screen() {
  if (outer_ != nullptr) return outer_->screen();
  if (!screen_) {
    screen_.emplace();
    if (X11Desktop* desktop = session_.desktop()) {
      screen_->windows = desktop->windowsFrontToBack();
      if (const auto active = desktop->activeWindow()) screen_->active = active->id;
    }
  }
  return *screen_;
}

Toolkit AtspiReading::toolkitOf(const AtspiReference& reference) {
  (void)read(reference, fact::toolkit);
  return session_.toolkitOf(reference.busName).value_or(Toolkit::unknown);
}

bool AtspiReading::isShown(const AtspiReference& reference, AtspiStates states) const {
  if (has(states, AtspiState::showing) || has(states, AtspiState::iconified)) return true;
  return has(states, AtspiState::visible) && session_.toolkitOf(reference.busName) == Toolkit::gtk4;
}

std::expected<bool, AXError> AtspiReading::isShown(const AtspiReference& reference) {
  if (known(reference).isFoundShown) return true;
  const auto states = *read(reference, fact::states | fact::toolkit).states;
  if (!states) return std::unexpected(states.error());
  return isShown(reference, *states);
}

bool AtspiReading::isTopLevel(const AtspiReference& reference) {
  const auto parent = *read(reference, fact::parent).parent;
  return !parent || parent->isNull() || parent->isApplicationRoot();
}

std::expected<std::vector<AtspiWindow>, AXError> AtspiReading::windowsOf(std::int32_t processIdentifier) {
  AtspiBus* bus = session_.bus();
  if (bus == nullptr) return std::unexpected(AXError::notTrusted);
  ApplicationTask task(*this, processIdentifier);
  task.advance();
  bus->run();

  const std::vector<AtspiReference> roots = session_.rootsOf(processIdentifier);
  if (roots.empty()) return std::unexpected(AXError::invalidElement);
  std::vector<AtspiReference> candidates;
  std::optional<AXError> failure;
  for (const AtspiReference& root : roots) {
    const auto children = known(root).children.value_or(std::unexpected(AXError::cannotComplete));
    if (!children) {
      failure = children.error();
      continue;
    }
    for (const AtspiReference& child : *children) {
      const AtspiFacts& facts = known(child);
      if (!facts.role || !*facts.role || !facts.states || !*facts.states) continue;
      if (canBeWindow(roleInfo(**facts.role).nature)) candidates.push_back(child);
    }
  }
  if (candidates.empty() && failure) return std::unexpected(*failure);
  return matchedWindowsOf(processIdentifier, candidates);
}

std::vector<AtspiWindow> AtspiReading::matchedWindowsOf(std::int32_t processIdentifier,
                                                        const std::vector<AtspiReference>& candidates) {
  std::vector<AtspiReference> windows;
  std::vector<AtspiWindowTraits> traits;
  for (const AtspiReference& candidate : candidates) {
    const AtspiFacts& facts = known(candidate);
    const AtspiStates states = **facts.states;
    if (!isShown(candidate, states) && !has(states, AtspiState::visible)) continue;
    windows.push_back(candidate);
    const std::string name = facts.name ? facts.name->value_or("") : "";
    AtspiWindowTraits& of = traits.emplace_back();
    of.name = undressedText(name, session_.toolkitOf(candidate.busName).value_or(Toolkit::unknown));
    if (facts.extents && *facts.extents) of.extents = **facts.extents;
    of.isDialog = roleInfo(**facts.role).nature != AtspiNature::window;
    of.isModal = has(states, AtspiState::modal);
    of.isActive = has(states, AtspiState::active);
  }
  std::vector<XWindow> screenWindows = screen().windows;
  std::erase_if(screenWindows, [=](const XWindow& window) { return window.processIdentifier != processIdentifier; });
  const auto matches = matchedWindows(traits, screenWindows, screen().active);
  const auto areCertain = certainMatches(traits, screenWindows, screen().active, matches);

  std::vector<AtspiWindow> found;
  for (std::size_t index = 0; index < windows.size(); ++index) {
    const AtspiStates states = **known(windows[index]).states;
    AtspiWindow window{.reference = windows[index], .states = states, .screenWindow = std::nullopt};
    if (matches[index]) window.screenWindow = screenWindows[*matches[index]];
    window.isScreenWindowCertain = areCertain[index];
    // A window that is visible but not shown is minimised when the window manager has it, and none when it has not.
    if (window.screenWindow || isShown(windows[index], states)) found.push_back(std::move(window));
  }
  return found;
}

std::optional<AtspiWindow> AtspiReading::windowAt(const AtspiReference& reference) {
  const auto windows = windowsOf(session_.processOf(reference.busName));
  if (!windows) return std::nullopt;
  const auto window = std::ranges::find(*windows, reference, &AtspiWindow::reference);
  if (window == windows->end()) return std::nullopt;
  return *window;
}

std::optional<AtspiWindow> AtspiReading::windowAround(const AtspiReference& reference) {
  AtspiReference at = reference;
  for (int step = 0; step < mostAncestors; ++step) {
    const auto parent = *read(at, fact::parent).parent;
    if (!parent || parent->isNull()) return std::nullopt;
    if (parent->isApplicationRoot()) return windowAt(at);
    at = *parent;
  }
  return std::nullopt;
}

}  // namespace tallyfox::linux_os
