#include "platform/linux/DialogSearch.hpp"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

namespace tallyfox::linux_os {
namespace {

/// Containers of the same meaning, and the one that stands for both.
constexpr std::uint32_t filler = 20;
constexpr std::uint32_t panel = 39;

/// Objects that may have as many children as there is data, each made when it is looked at: combo box, layered pane,
/// list, menu bar, table, terminal, tree, tree table, documents, list box.
const std::vector<std::uint32_t> lists = {11, 30, 31, 34, 55, 60, 65, 66, 82, 94, 95, 98};

/// Roles that dialogs have besides buttons, labels and panels, and that never make up their children: accelerator
/// label, check box, icon, image, password text, progress bar, radio button, scroll bar, scroll pane, separator,
/// slider, spin button, split pane, text, toggle button, viewport, entry, link, level bar.
constexpr auto settledRoles =
    std::to_array<std::uint32_t>({1, 7, 26, 27, 40, 42, 44, 48, 49, 50, 51, 52, 53, 61, 62, 68, 79, 88, 105});
static_assert(std::ranges::is_sorted(settledRoles));

}  // namespace

DialogSearch::DialogSearch(AtspiReading& reading, AtspiReference dialog, std::size_t limit)
    : reading_(reading), dialog_(std::move(dialog)), limit_(limit) {}

bool DialogSearch::sendMissing(AtspiStep& step) {
  switch (stage_) {
    case Stage::begin:
      begin(step);
      return true;
    case Stage::recognize:
      if (all_ == shape_.shown) {
        settle(shape_);
        return end(true);
      }
      shape_ = {};
      all_.reset();
      searchForLists(step);
      stage_ = Stage::search;
      return true;
    case Stage::search:
      if (!lists_ || !lists_->empty()) return end(false);
      searchForShown(step);
      stage_ = Stage::place;
      return true;
    case Stage::place:
      if (!lists_ || !lists_->empty() || !sort()) return end(false);
      askForPlaces(step);
      stage_ = Stage::settle;
      return true;
    case Stage::settle:
      if (!place()) return end(false);
      settle(shape_);
      shape_.role = reading_.known(dialog_).role->value();
      shape_.learntAt = DialogShape::Clock::now();
      reading_.session().learnShape(dialog_, shape_);
      return end(true);
    case Stage::over:
      break;
  }
  return false;
}

/// A dialog of known shape is only asked whether it still has it; what its objects say is asked at the same time.
void DialogSearch::begin(AtspiStep& step) {
  const DialogShape* known = reading_.session().shapeOf(dialog_);
  if (known != nullptr && AtspiSession::isFresh(*known) && known->shown.size() <= limit_) {
    shape_ = *known;
    for (const auto& [object, role] : shape_.roles)
      reading_.learnRole(object, role);
    search(all_, {.states = bit(AtspiState::showing), .roles = {}, .count = static_cast<std::int32_t>(limit_) + 1},
           step);
    stage_ = Stage::recognize;
    return;
  }
  searchForLists(step);
  stage_ = Stage::search;
  // One that had no list a while ago is taken at its word: a list that came since is met once.
  if (known == nullptr) return;
  searchForShown(step);
  stage_ = Stage::place;
}

bool DialogSearch::end(bool isSettled) {
  stage_ = Stage::over;
  isSettled_ = isSettled;
  if (!isSettled) reading_.session().learnShape(dialog_, std::nullopt);
  return false;
}

void DialogSearch::searchForLists(AtspiStep& step) {
  search(lists_, {.states = 0, .roles = lists, .count = 1}, step);
}

void DialogSearch::searchForShown(AtspiStep& step) {
  const auto count = static_cast<std::int32_t>(limit_) + 1;
  search(all_, {.states = bit(AtspiState::showing), .roles = {}, .count = count}, step);
  search(buttons_, {.states = bit(AtspiState::showing), .roles = {atspi_role::pushButton}, .count = count}, step);
  search(labels_, {.states = bit(AtspiState::showing), .roles = {atspi_role::label}, .count = count}, step);
  search(groups_, {.states = bit(AtspiState::showing), .roles = {filler, panel}, .count = count}, step);
}

void DialogSearch::search(Found& found, AtspiSearch what, AtspiStep& step) {
  AtspiBus* bus = reading_.session().bus();
  if (bus == nullptr) return;
  ++step.outstanding;
  bus->send({dialog_, "org.a11y.atspi.Collection", "GetMatches", {std::move(what)}},
            [&found, &step](AtspiBus::Answer answer) {
              if (auto matches = reply::references(answer)) found = std::move(*matches);
              step.noteAnswer();
            });
}

/// By role. False when the searches do not tell of everything that a walk would reach.
bool DialogSearch::sort() {
  if (!all_ || !buttons_ || !labels_ || !groups_ || all_->size() > limit_) return false;
  shape_.shown = std::move(*all_);
  for (const AtspiReference& object : *buttons_)
    shape_.roles[object] = atspi_role::pushButton;
  for (const AtspiReference& object : *labels_)
    shape_.roles[object] = atspi_role::label;
  for (const AtspiReference& object : *groups_)
    shape_.roles[object] = panel;
  for (const AtspiReference& object : shape_.shown) {
    const auto role = shape_.roles.find(object);
    if (role == shape_.roles.end()) {
      others_.push_back(object);
    } else {
      reading_.learnRole(object, role->second);
    }
  }
  return true;
}

void DialogSearch::askForPlaces(AtspiStep& step) {
  AtspiBus* bus = reading_.session().bus();
  if (bus == nullptr) return;
  std::vector<AtspiReference> parents = *groups_;
  parents.push_back(dialog_);
  for (const AtspiReference& parent : parents) {
    ++step.outstanding;
    bus->send({parent, "org.a11y.atspi.Accessible", "GetChildren", {}}, [this, parent, &step](AtspiBus::Answer answer) {
      if (auto children = reply::references(answer)) shape_.children[parent] = std::move(*children);
      step.noteAnswer();
    });
  }
  for (const AtspiReference& object : others_)
    (void)reading_.want(object, fact::role, step);
}

/// False when something shown has not found its one place.
bool DialogSearch::place() {
  const AtspiFact<std::uint32_t>& own = reading_.known(dialog_).role;
  if (!own || !*own) return false;
  for (const AtspiReference& object : others_) {
    const AtspiFact<std::uint32_t>& role = reading_.known(object).role;
    if (!role || !*role || !std::ranges::binary_search(settledRoles, **role)) return false;
    shape_.roles[object] = **role;
  }
  const std::unordered_set<AtspiReference> isShown(shape_.shown.begin(), shape_.shown.end());
  std::unordered_set<AtspiReference> placed;
  for (auto& [parent, children] : shape_.children) {
    std::erase_if(children, [&isShown](const AtspiReference& child) { return !isShown.contains(child); });
    placed.insert(children.begin(), children.end());
  }
  // Then nothing that is shown lies anywhere else.
  if (placed.size() != shape_.shown.size() || shape_.children.size() != groups_->size() + 1) return false;
  for (const AtspiReference& object : shape_.shown)
    shape_.children.try_emplace(object);
  return true;
}

void DialogSearch::settle(const DialogShape& shape) {
  for (const auto& [parent, children] : shape.children)
    reading_.learnShownChildren(parent, children);
}

}  // namespace tallyfox::linux_os
