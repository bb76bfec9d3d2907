// The status window in every state that can be: all conditions crossed with each other, and rules that the window keeps
// in each of them, told without the code that it is built by. Each rule also says how many states it is about, so that
// one which is about none cannot pass for a kept one.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "ui/StatusWindowStates.hpp"

namespace tallyfox {
namespace {

using namespace window_states;

std::vector<ButtonModel> buttonsOf(const StatusWindowModel& model) {
  std::vector<ButtonModel> buttons;
  const auto add = [&](const std::optional<ButtonModel>& button) {
    if (button) buttons.push_back(*button);
  };
  const auto addRow = [&](const std::optional<StatusRowModel>& row) {
    if (!row) return;
    add(row->button);
    add(row->secondaryButton);
  };
  addRow(model.update);
  add(model.pairing.openSettings);
  add(model.pairing.codeToggle);
  add(model.pairing.unpair);
  for (const auto& row : {model.installLocation, std::optional(model.accessibility), std::optional(model.loginItem),
                          std::optional(model.notificationPause)})
    addRow(row);
  return buttons;
}

/// Whether anything would come of the owner pressing a button.
bool canHaveEffect(StatusWindowAction action, const State& state) {
  switch (action) {
    case StatusWindowAction::openAccessibilitySettings:
      return state.installed && !state.trusted;
    case StatusWindowAction::enableLoginItem:
      return state.installed && (state.loginItem == 1 || state.loginItem == 2);
    case StatusWindowAction::unpairPhone:
      return state.hasPhone() && !state.resetting;
    case StatusWindowAction::togglePairingCode:
      return state.canReceive() && state.image && !state.locked && !state.resetting;
    case StatusWindowAction::checkForUpdates:
      return state.update != Update::none;
    case StatusWindowAction::toggleNotificationPause:
    case StatusWindowAction::showNotificationPauseOptions:
      return state.isPaused() || state.canReceive();
  }
  return false;
}

/// What holds in every state in which `when` does.
struct Rule {
  std::string name;
  std::function<bool(const State&)> when;
  std::function<bool(const State&, const StatusWindowModel&)> holds;
};

bool always(const State& /*state*/) {
  return true;
}

bool saysScan(const std::string& text) {
  return text.find("scan this code") != std::string::npos;
}

const std::vector<Rule>& codeRules() {
  static const std::vector<Rule> rules = {
      {"a code is never shown without permission", [](const State& s) { return !s.installed || !s.trusted; },
       [](const State&, const StatusWindowModel& m) { return !m.pairing.code; }},
      {"a code is never shown where it leads nowhere",
       [](const State& s) { return !s.configured || !s.connected || s.locked || s.resetting || !s.image; },
       [](const State&, const StatusWindowModel& m) { return !m.pairing.code; }},
      {"whoever has a phone sees a code only when asked for",
       [](const State& s) { return s.hasPhone() && !s.requested; },
       [](const State&, const StatusWindowModel& m) { return !m.pairing.code; }},
      {"whoever is ready to pair sees the code",
       [](const State& s) {
         return s.installed && s.trusted && s.configured && s.connected && s.image && !s.locked && !s.resetting &&
                (s.requested || !s.hasPhone());
       },
       [](const State&, const StatusWindowModel& m) { return m.pairing.code && saysScan(m.pairing.caption); }},
      {"words about this code stand only beside a code", always,
       [](const State&, const StatusWindowModel& m) {
         return m.pairing.code || (!saysScan(m.pairing.caption) && !saysScan(m.pairing.detail));
       }},
      {"nothing is said twice", always,
       [](const State&, const StatusWindowModel& m) {
         return m.pairing.caption.empty() || m.pairing.caption != m.pairing.detail;
       }},
      {"the card is never left without words", always,
       [](const State&, const StatusWindowModel& m) {
         return !m.pairing.status.empty() &&
                (m.pairing.code || m.pairing.problem || !m.pairing.detail.empty() || m.pairing.unpair.has_value());
       }},
      {"a problem with the credentials is always told", always,
       [](const State& s, const StatusWindowModel& m) {
         return m.pairing.problem == (s.locked ? std::optional<std::string>(keychainLocked) : std::nullopt);
       }},
  };
  return rules;
}

const std::vector<Rule>& buttonRules() {
  static const std::vector<Rule> rules = {
      {"no enabled button is without a possible effect", always,
       [](const State& s, const StatusWindowModel& m) {
         return std::ranges::all_of(buttonsOf(m), [&](const ButtonModel& button) {
           return !button.title.empty() && (!button.isEnabled || canHaveEffect(button.action, s));
         });
       }},
      {"every possible effect has one enabled button", always,
       [](const State& s, const StatusWindowModel& m) {
         const std::vector<ButtonModel> buttons = buttonsOf(m);
         for (int action = 0; action <= static_cast<int>(StatusWindowAction::showNotificationPauseOptions); ++action) {
           const auto wanted = static_cast<StatusWindowAction>(action);
           const auto count = std::ranges::count_if(
               buttons, [&](const ButtonModel& button) { return button.action == wanted && button.isEnabled; });
           if (count != (canHaveEffect(wanted, s) ? 1 : 0)) return false;
         }
         return true;
       }},
      {"a known phone can be unpaired", &State::hasPhone,
       [](const State& s, const StatusWindowModel& m) {
         return m.pairing.unpair && m.pairing.unpair->isEnabled == !s.resetting;
       }},
      {"only unpairing itself is ever shown and disabled", always,
       [](const State& s, const StatusWindowModel& m) {
         const auto disabled =
             std::ranges::count_if(buttonsOf(m), [](const ButtonModel& button) { return !button.isEnabled; });
         return disabled == (s.resetting ? 1 : 0) && (!s.resetting || m.pairing.unpair->title == "Unpairing...");
       }},
      {"a pause in force can be ended, whatever else is wrong", &State::isPaused,
       [](const State&, const StatusWindowModel& m) {
         return m.notificationPause.button && m.notificationPause.button->title == "Resume" &&
                m.notificationPause.symbol == "bell.slash";
       }},
      {"no pause is ended where none is in force", [](const State& s) { return !s.isPaused(); },
       [](const State&, const StatusWindowModel& m) {
         return (!m.notificationPause.button || m.notificationPause.button->title == "Pause for 2 Hours") &&
                m.notificationPause.symbol == "bell";
       }},
  };
  return rules;
}

const std::vector<Rule>& cardRules() {
  static const std::vector<Rule> rules = {
      {"the update row is there only for an update", always,
       [](const State& s, const StatusWindowModel& m) { return m.update.has_value() == (s.update != Update::none); }},
      {"the install location is told only while it is wrong", always,
       [](const State& s, const StatusWindowModel& m) { return m.installLocation.has_value() == !s.installed; }},
      {"all is well only where it is", always,
       [](const State& s, const StatusWindowModel& m) {
         const bool isWell = s.installed && s.trusted && s.loginItem == 0 && s.connected && s.hasPhone();
         return (m.pill == StatusPill{"All OK", PillRole::success}) == isWell && (m.headline == "All OK") == isWell;
       }},
      {"running outside Applications overrides everything", [](const State& s) { return !s.installed; },
       [](const State&, const StatusWindowModel& m) {
         return m.pill.text == "Needs Setup" && m.headline == "Move to Applications" &&
                m.pairing.status == "Move to Applications" && m.accessibility.pill->text == "Waiting" &&
                m.notificationPause.title == "Not Available";
       }},
      {"no row is praised for what it warns of", always,
       [](const State& s, const StatusWindowModel& m) {
         return (m.accessibility.pill->role == PillRole::success) == (s.installed && s.trusted) &&
                (m.loginItem.pill->role == PillRole::success) == (s.loginItem == 0) &&
                (m.pairing.statusRole == TextRole::positive) == s.canReceive();
       }},
      {"a pause is told wherever alerts could arrive", &State::canReceive,
       [](const State& s, const StatusWindowModel& m) {
         if (s.pause == Pause::forever) return m.notificationPause.title == "Paused";
         if (s.pause == Pause::untilLater) return m.notificationPause.title == "Paused until 2:10 PM";
         return m.notificationPause.title == "Active";
       }},
      {"every card has its words", always,
       [](const State&, const StatusWindowModel& m) {
         const auto hasWords = [](const StatusRowModel& row) {
           return !row.symbol.empty() && !row.title.empty() && !row.detail.empty() &&
                  (!row.pill || !row.pill->text.empty());
         };
         return !m.headline.empty() && !m.detail.empty() && hasWords(m.accessibility) && hasWords(m.loginItem) &&
                hasWords(m.notificationPause) && (!m.update || hasWords(*m.update)) &&
                (!m.installLocation || hasWords(*m.installLocation));
       }},
  };
  return rules;
}

void expectKept(const std::vector<Rule>& rules) {
  std::vector<std::size_t> about(rules.size());
  std::vector<std::size_t> broken(rules.size());
  for (std::size_t number = 0; number < stateCount; ++number) {
    const State state = stateOf(number);
    const StatusWindowModel model = modelOf(state);
    for (std::size_t i = 0; i < rules.size(); ++i) {
      if (!rules[i].when(state)) continue;
      ++about[i];
      if (!rules[i].holds(state, model) && broken[i]++ == 0)
        ADD_FAILURE() << rules[i].name << ": first broken in" << described(state);
    }
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    EXPECT_EQ(broken[i], 0U) << rules[i].name << ", of " << about[i] << " states";
    EXPECT_GT(about[i], 100U) << rules[i].name;
  }
}

TEST(StatusWindowStates, areAllDifferent) {
  EXPECT_EQ(described(stateOf(0)), described(stateOf(stateCount)));
  EXPECT_NE(described(stateOf(0)), described(stateOf(stateCount - 1)));
  EXPECT_EQ(stateCount, 61'440U);
}

TEST(StatusWindowStates, showACodeToThoseWhoMayPairAndToNobodyElse) {
  expectKept(codeRules());
}

TEST(StatusWindowStates, offerEveryButtonThatDoesSomethingAndNoOther) {
  expectKept(buttonRules());
}

TEST(StatusWindowStates, showEveryCardThatIsNewsWithWordsThatAreTrue) {
  expectKept(cardRules());
}

}  // namespace
}  // namespace tallyfox
