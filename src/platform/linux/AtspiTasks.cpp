#include "platform/linux/AtspiTasks.hpp"

#include <algorithm>
#include <utility>

#include "platform/linux/AtspiWalk.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr FactSet structure = fact::role | fact::states | fact::childCount | fact::toolkit;

/// Roles whose words and places a reader of dialogs asks for.
bool isReadable(AtspiNature nature) {
  return canBeWindow(nature) || nature == AtspiNature::button || nature == AtspiNature::text ||
         nature == AtspiNature::textContainer;
}

}  // namespace

ApplicationTask::ApplicationTask(AtspiReading& reading, std::int32_t processIdentifier)
    : reading_(reading), roots_(reading.session().rootsOf(processIdentifier)) {
  step_.onDone = [this] { advance(); };
}

void ApplicationTask::advance() {
  // Without a bus the facts are known as errors at once and no answer will call again.
  while (sendMissing() && step_.outstanding == 0) {
  }
}

bool ApplicationTask::sendMissing() {
  bool isMissing = false;
  for (const AtspiReference& root : roots_) {
    if (reading_.want(root, fact::childCount | fact::toolkit, step_)) {
      isMissing = true;
      continue;
    }
    isMissing |= reading_.want(root, fact::children, step_);
    const AtspiFact<std::vector<AtspiReference>> children = reading_.known(root).children;
    if (!children || !*children) continue;
    for (const AtspiReference& child : **children) {
      if (reading_.want(child, fact::role | fact::states, step_)) {
        isMissing = true;
        continue;
      }
      const AtspiFacts& facts = reading_.known(child);
      if (!*facts.role || !canBeWindow(roleInfo(**facts.role).nature)) continue;
      isMissing |= reading_.want(child, fact::name | fact::extents, step_);
    }
  }
  return isMissing;
}

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
  while (sendMissing() && step_.outstanding == 0) {
  }
}

std::vector<AtspiReference> WalkTask::order() {
  return boundedWalk(root_, limit_, [this](const AtspiReference& node) { return reading_.knownShownChildren(node); });
}

bool WalkTask::sendMissing() {
  bool isMissing = reading_.want(root_, neededOf(root_, true), step_);
  for (const AtspiReference& element : order())
    isMissing |= reading_.want(element, neededOf(element, false), step_);
  return isMissing;
}

FactSet WalkTask::neededOf(const AtspiReference& reference, bool isRoot) {
  const AtspiFacts& facts = reading_.known(reference);
  FactSet needed = structure | needs_.always;
  if (isRoot) needed |= fact::parent;
  if (!facts.role || !facts.states || !facts.childCount) return needed;
  // What went away or does not answer has nothing more to say.
  if (!*facts.role || !*facts.states) return needed;
  if (limit_ > 0 && facts.childCount->value_or(1) > 0) needed |= fact::children;
  const AtspiNature nature = roleInfo(**facts.role).nature;
  if (!isReadable(nature)) return needed;
  const bool isText = nature == AtspiNature::text || nature == AtspiNature::textContainer;
  if (needs_.title || (needs_.value && isText)) needed |= fact::name;
  if (needs_.value && isText) needed |= fact::text;
  if (needs_.frame) needed |= fact::extents;
  const bool isNameless = facts.name && facts.name->value_or("").empty();
  if (needs_.description && nature == AtspiNature::button && (isNameless || !needs_.title)) needed |= fact::description;
  return needed;
}

}  // namespace tallyfox::linux_os
