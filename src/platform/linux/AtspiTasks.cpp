#include "platform/linux/AtspiTasks.hpp"

#include <algorithm>
#include <utility>

#include "base/Limits.hpp"
#include "platform/linux/AtspiWalk.hpp"

namespace tallyfox::linux_os {
namespace {

/// Roles whose words and places a reader of dialogs asks for.
bool isReadable(AtspiNature nature) {
  return canBeWindow(nature) || nature == AtspiNature::button || nature == AtspiNature::text ||
         nature == AtspiNature::textContainer;
}

}  // namespace

AtspiNeeds AtspiNeeds::of(const std::vector<AXAttribute>& attributes) {
  const auto has = [&attributes](AXAttribute attribute) {
    return std::ranges::find(attributes, attribute) != attributes.end();
  };
  return {.title = has(AXAttribute::title),
          .description = has(AXAttribute::description),
          .value = has(AXAttribute::value),
          .frame = has(AXAttribute::position) || has(AXAttribute::size)};
}

WalkTask::WalkTask(AtspiReading& reading, AtspiReference root, int limit, AtspiNeeds needs)
    : reading_(reading), root_(std::move(root)), limit_(static_cast<std::size_t>(std::max(limit, 0))), needs_(needs) {
  step_.onDone = [this] { advance(); };
}

void WalkTask::advance() {
  bool isMissing = sendMissing();
  while (isMissing && step_.outstanding == 0)
    isMissing = sendMissing();
  if (!isMissing && !inner_) walkDialogInside();
}

/// A sheet is read as far as a window is: its reader turns to it once the window shows it.
void WalkTask::walkDialogInside() {
  const auto isDialog = [this](const AtspiReference& element) {
    const AtspiFacts& facts = reading_.known(element);
    if (!facts.role || !*facts.role || !facts.states || !*facts.states) return false;
    return roleInfo(**facts.role).nature == AtspiNature::dialog || has(**facts.states, AtspiState::modal);
  };
  if (limit_ == 0 || isDialog(root_)) return;
  std::vector<AtspiReference> elements = order();
  constexpr std::size_t searched = limits::containerDescendants;
  if (elements.size() > searched) elements.resize(searched);
  const auto dialog = std::ranges::find_if(elements, isDialog);
  if (dialog == elements.end()) return;
  inner_ = std::make_unique<WalkTask>(reading_, *dialog, static_cast<int>(limit_), needs_);
  inner_->advance();
}

std::vector<AtspiReference> WalkTask::order() {
  return boundedWalk(root_, limit_, [this](const AtspiReference& node) { return reading_.knownShownChildren(node); });
}

bool WalkTask::sendMissing() {
  if (sendSearch()) return true;
  bool isMissing = reading_.want(root_, neededOf(root_, true), step_);
  for (const AtspiReference& element : order())
    isMissing |= reading_.want(element, neededOf(element, false), step_);
  return isMissing || (isWordlessDialog() && reading_.want(root_, fact::description, step_));
}

/// Of the walk as far as it is known. Such a dialog may say in its description what it asks.
bool WalkTask::isWordlessDialog() {
  const AtspiFacts& root = reading_.known(root_);
  if (!needs_.value || !root.role || !*root.role || roleInfo(**root.role).nature != AtspiNature::dialog) return false;
  return std::ranges::none_of(order(), [this](const AtspiReference& element) {
    const AtspiFacts& facts = reading_.known(element);
    const auto isWords = [](const AtspiFact<std::string>& text) { return text && !text->value_or("").empty(); };
    return reading_.isKnownAsText(element) && (isWords(facts.text) || isWords(facts.name));
  });
}

bool WalkTask::canBeSearched() {
  AtspiSession& session = reading_.session();
  if (limit_ == 0 || !session.isSearchable(root_)) return false;
  const auto toolkit = session.toolkitOf(root_.busName);
  const AtspiFacts& facts = reading_.known(root_);
  if (!toolkit || !canSearch(*toolkit) || facts.children) return false;
  if (!facts.role) return isDialogExpected_;
  return *facts.role && (**facts.role == atspi_role::alert || **facts.role == atspi_role::dialog);
}

bool WalkTask::sendSearch() {
  if (!search_) {
    if (!canBeSearched()) return false;
    search_.emplace(reading_, root_, limit_);
  }
  const bool goesOn = search_->sendMissing(step_);
  for (const AtspiReference& element : search_->shown())
    if (reading_.known(element).role) (void)reading_.want(element, neededOf(element, false), step_);
  return goesOn;
}

FactSet WalkTask::neededOf(const AtspiReference& reference, bool isRoot) {
  const AtspiFacts& facts = reading_.known(reference);
  FactSet needed = needs_.always | fact::role | fact::toolkit;
  if (isRoot) needed |= fact::parent | fact::states;
  const bool isSearched = facts.isFoundShown || (search_ && !search_->hasFailed());
  if (!isSearched) needed |= fact::states | fact::childCount;
  if (!facts.role || (!isSearched && (!facts.states || !facts.childCount))) return needed;
  // What went away or does not answer has nothing more to say.
  if (!*facts.role || (facts.states && !*facts.states)) return needed;
  if (limit_ > 0 && !isSearched && facts.childCount->value_or(1) > 0) needed |= fact::children;
  const AtspiNature nature = roleInfo(**facts.role).nature;
  if (nature == AtspiNature::field || nature == AtspiNature::check) needed |= fact::states;
  if (!isReadable(nature)) return needed;
  const bool isText = nature == AtspiNature::text || nature == AtspiNature::textContainer;
  // The name of a text counts only when it has no other text.
  const bool isWordless = !needs_.value || (facts.text && facts.text->value_or("").empty());
  if (needs_.title && (!isText || isWordless)) needed |= fact::name;
  if (needs_.value && isText) needed |= isWordless ? fact::text | fact::name : fact::text;
  // The place of a window is known from the screen.
  const bool isTopLevel = isRoot && facts.parent && *facts.parent && (*facts.parent)->isApplicationRoot();
  if (needs_.frame && !(isTopLevel && canBeWindow(nature))) needed |= fact::extents;
  const bool isNameless = facts.name && facts.name->value_or("").empty();
  if (needs_.description && nature == AtspiNature::button && (isNameless || !needs_.title)) needed |= fact::description;
  return needed;
}

ApplicationTask::ApplicationTask(AtspiReading& reading, std::int32_t processIdentifier,
                                 const std::optional<AtspiWindowNeeds>& windowNeeds)
    : reading_(reading), windowNeeds_(windowNeeds), roots_(reading.session().rootsOf(processIdentifier)) {
  step_.onDone = [this] { advance(); };
  const AtspiScreen& screen = reading_.screen();
  showsOnlyDialogs_ = true;
  for (const XWindow& window : screen.windows) {
    if (window.processIdentifier != processIdentifier) continue;
    ++screenWindows_;
    showsOnlyDialogs_ = showsOnlyDialogs_ && window.isDialogType;
    hasFocus_ = hasFocus_ || window.id == screen.active;
  }
  showsOnlyDialogs_ = showsOnlyDialogs_ && screenWindows_ > 0;
}

void ApplicationTask::advance() {
  // Without a bus the facts are known as errors at once and no answer will call again.
  while (sendMissing() && step_.outstanding == 0) {
  }
}

bool ApplicationTask::sendMissing() {
  bool isMissing = false;
  for (const AtspiReference& root : roots_) {
    isMissing |= reading_.want(root, fact::children | fact::toolkit, step_);
    const AtspiFact<std::vector<AtspiReference>> children = reading_.known(root).children;
    if (!children || !*children) continue;
    // One window here and one on the screen belong together whatever their places.
    const bool isOnlyOne = roots_.size() == 1 && (*children)->size() == 1 && screenWindows_ == 1;
    for (const AtspiReference& child : **children)
      isMissing |= sendMissingOf(child, isOnlyOne ? fact::name : fact::name | fact::extents);
  }
  return isMissing;
}

bool ApplicationTask::sendMissingOf(const AtspiReference& child, FactSet facts) {
  if (const DialogShape* shape = reading_.session().shapeOf(child); shape != nullptr && AtspiSession::isFresh(*shape))
    reading_.learnRole(child, shape->role);
  const bool isTrusted = showsOnlyDialogs_ && reading_.session().toolkitOf(child.busName).has_value();
  // Of what is a window for sure, all is asked at once.
  FactSet needed = fact::role | fact::states;
  const AtspiFacts& known = reading_.known(child);
  const bool isWindow =
      known.role && *known.role && canBeWindow(roleInfo(**known.role).nature) && known.states && *known.states;
  if (isTrusted || isWindow) needed |= facts;
  const bool isFocusSought = (isTrusted || isWindow) && hasFocus_ && canSearch(toolkitOf(child));
  if (isFocusSought) needed |= fact::focusClaims;
  bool isMissing = reading_.want(child, needed, step_);
  // Dialogs are read whole anyway.
  if (isFocusSought && isWindow && roleInfo(**known.role).nature == AtspiNature::window)
    isMissing |= sendFocusPath(child);
  if (windowNeeds_ && (isTrusted || isWindow)) walkInto(child);
  return isMissing;
}

Toolkit ApplicationTask::toolkitOf(const AtspiReference& reference) const {
  return reading_.session().toolkitOf(reference.busName).value_or(Toolkit::unknown);
}

/// From what has the focus up to its window: who asks for the one, asks for the other.
bool ApplicationTask::sendFocusPath(const AtspiReference& window) {
  const AtspiFact<std::vector<AtspiReference>>& claims = reading_.known(window).focusClaims;
  if (!claims || !*claims || (*claims)->empty()) return false;
  AtspiReference at = (*claims)->back();
  for (int ancestor = 0; ancestor < limits::windowAncestors && at != window; ++ancestor) {
    if (reading_.want(at, fact::role | fact::states | fact::childCount | fact::parent, step_)) return true;
    const AtspiFact<AtspiReference>& parent = reading_.known(at).parent;
    if (!*parent || (*parent)->isNull() || (*parent)->isApplicationRoot()) {
      // Another window than those that its program lists: it is read too, for the focus in it.
      const AtspiFact<std::uint32_t>& role = reading_.known(at).role;
      if (windowNeeds_ && role && *role && canBeWindow(roleInfo(**role).nature)) walkInto(at);
      break;
    }
    at = AtspiReference(**parent);
  }
  return false;
}

void ApplicationTask::walkInto(const AtspiReference& window) {
  std::unique_ptr<WalkTask>& walk = walks_[window];
  if (walk) return;
  // Where the focus cannot be searched for, it is walked to.
  const bool isFocusWalked = hasFocus_ && !canSearch(toolkitOf(window));
  const int limit = isFocusWalked ? std::max(windowNeeds_->descendantLimit, limits::refindDescendants)
                                  : windowNeeds_->descendantLimit;
  walk = std::make_unique<WalkTask>(reading_, window, limit, windowNeeds_->ofElements);
  if (showsOnlyDialogs_) walk->expectDialog();
  walk->advance();
}

}  // namespace tallyfox::linux_os
