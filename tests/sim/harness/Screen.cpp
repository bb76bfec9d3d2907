#include "sim/harness/Screen.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

namespace tallyfox::sim {
namespace {

using memory::ElementID;
using memory::Fault;

/// A look may be this old when it leads to a press: as long as two messages may take.
constexpr Seconds readingTime{0.5};

/// More than that nobody leaves open.
constexpr std::size_t mostDialogs = 10;

std::vector<std::string> labelsFor(std::size_t choice, const std::string& number) {
  switch (choice) {
    case 0:
      return {fmt::format("Keep {}", number), fmt::format("Erase {}", number)};
    case 1:
      return {"Cancel", fmt::format("Erase {}", number)};
    case 2:
      return {"Cancel", "OK"};
    default:
      return {fmt::format("Later {}", number), "Delete"};
  }
}

}  // namespace

bool DialogText::asksTheSame(const DialogText& other) const {
  const std::set<std::string> own(labels.begin(), labels.end());
  return title == other.title && lines == other.lines &&
         own == std::set<std::string>(other.labels.begin(), other.labels.end());
}

Screen::Screen(memory::MemoryDesktop& desktop, Clock& clock, Random random)
    : desktop_(desktop), clock_(clock), random_(random) {
  for (const char* name : {"Finder #a", "Installer #b", "Editor #c"}) {
    applications_.push_back(desktop_.launch(name));
    names_[applications_.back()] = name;
  }
  coverer_ = desktop_.launch("Painter #d");
}

void Screen::open() {
  if (live().size() >= mostDialogs) return close();
  const std::string number = fmt::format("#{}", ++number_);
  const std::string line = random_.chance(0.25) ? fmt::format("Enter your password to go on with {}.", number)
                                                : fmt::format("Are you sure you want to delete item {}?", number);
  const DialogFrame frame{50 + 40.0 * static_cast<double>(random_.pick(20)), 100, 420, 180};
  show(random_.one(applications_), {fmt::format("Dialog {}", number), {line}, labelsFor(random_.pick(4), number)},
       frame);
}

void Screen::show(std::int32_t application, const DialogText& text, const DialogFrame& frame) {
  const ElementID window =
      desktop_.openWindow(application, memory::messageBox(text.title, text.lines, text.labels, frame));
  everRead_.insert(text);
  ++opened_;
  dialogs_.push_back({.window = window,
                      .application = application,
                      .text = text,
                      .openedAt = clock_.continuous(),
                      .earlierText = {},
                      .frame = frame});
}

SimulatedDialog* Screen::pickLive() {
  std::vector<SimulatedDialog*> choices;
  for (SimulatedDialog& dialog : dialogs_)
    if (desktop_.exists(dialog.window)) choices.push_back(&dialog);
  return choices.empty() ? nullptr : random_.one(choices);
}

void Screen::close() {
  if (const SimulatedDialog* dialog = pickLive()) desktop_.closeWindow(dialog->window);
}

void Screen::change() {
  SimulatedDialog* const dialog = pickLive();
  if (dialog == nullptr) return;
  static constexpr std::array<void (Screen::*)(SimulatedDialog&), 4> kinds = {&Screen::changeLine, &Screen::rename,
                                                                              &Screen::toggleButton, &Screen::move};
  (this->*kinds[random_.pick(kinds.size())])(*dialog);
}

void Screen::setText(SimulatedDialog& dialog, DialogText text) {
  dialog.earlierText = std::exchange(dialog.text, std::move(text));
  dialog.changedAt = clock_.continuous();
  everRead_.insert(dialog.text);
}

void Screen::changeLine(SimulatedDialog& dialog) {
  const ElementID line = desktop_.find(dialog.window, "AXStaticText", "");
  if (line == 0) return;
  DialogText text = dialog.text;
  text.lines[0] += " Again.";
  desktop_.setValue(line, text.lines[0]);
  setText(dialog, std::move(text));
}

void Screen::rename(SimulatedDialog& dialog) {
  DialogText text = dialog.text;
  std::string& label = random_.one(text.labels);
  const ElementID button = desktop_.find(dialog.window, "AXButton", label);
  if (button == 0 || label == "Cancel" || label == "OK" || label == "Delete") return;
  label += "'";
  desktop_.setTitle(button, label);
  setText(dialog, std::move(text));
}

void Screen::toggleButton(SimulatedDialog& dialog) {
  const ElementID button = desktop_.find(dialog.window, "AXButton", random_.one(dialog.text.labels));
  if (button == 0) return;
  const bool isEnabled = disabled_.erase(button) > 0;
  if (!isEnabled) disabled_.insert(button);
  desktop_.setEnabled(button, isEnabled);
}

void Screen::move(SimulatedDialog& dialog) {
  dialog.frame.x += 40;
  dialog.frame.y += 20;
  desktop_.setFrame(dialog.window, dialog.frame);
}

void Screen::replaceByLookAlike() {
  const SimulatedDialog* const dialog = pickLive();
  if (dialog == nullptr) return;
  const SimulatedDialog gone = *dialog;
  desktop_.closeWindow(gone.window);
  DialogText text = gone.text;
  switch (random_.pick(4)) {
    case 0:  // reads the same
      break;
    case 1:
      text.lines[0] += " For good.";
      break;
    case 2:
      std::ranges::reverse(text.labels);
      break;
    default:
      text.labels.back() = fmt::format("Erase everything #{}", ++number_);
      break;
  }
  const std::int32_t application = random_.chance(0.2) ? random_.one(applications_) : gone.application;
  show(application, text, gone.frame);
}

void Screen::cover() {
  const SimulatedDialog* const dialog = pickLive();
  if (dialog == nullptr) return;
  memory::ElementSpec button{.role = "AXButton", .title = "Bold", .frame = dialog->frame, .actions = {"AXPress"}};
  covers_.push_back(
      desktop_.openWindow(coverer_, {.role = "AXWindow", .frame = dialog->frame, .children = {std::move(button)}}));
}

void Screen::misbehave() {
  const std::int32_t application = random_.one(applications_);
  static constexpr std::array faults = {Fault::none, Fault::hang, Fault::refuseActions, Fault::ignoreActions,
                                        Fault::workAndRefuse};
  desktop_.setFault(application, faults[random_.pick(faults.size())]);
  desktop_.heed(application, random_.chance(0.7), random_.chance(0.5), random_.chance(0.5));
}

const char* Screen::surprise() {
  struct Surprise {
    const char* name;
    void (Screen::*act)();
  };
  static constexpr std::array surprises = {Surprise{"close", &Screen::close},
                                           Surprise{"replace", &Screen::replaceByLookAlike},
                                           Surprise{"cover", &Screen::cover}, Surprise{"misbehave", &Screen::misbehave},
                                           Surprise{"change", &Screen::change}};
  surprisedAt_ = clock_.continuous();
  const Surprise& chosen = surprises[random_.pick(surprises.size())];
  (this->*chosen.act)();
  return chosen.name;
}

void Screen::heal() {
  for (const std::int32_t application : applications_) {
    desktop_.setFault(application, Fault::none);
    desktop_.heed(application, true, true, true);
  }
  for (const ElementID button : std::exchange(disabled_, {}))
    if (desktop_.exists(button)) desktop_.setEnabled(button, true);
  for (const ElementID window : std::exchange(covers_, {}))
    if (desktop_.exists(window)) desktop_.closeWindow(window);
}

std::vector<const SimulatedDialog*> Screen::live() const {
  std::vector<const SimulatedDialog*> result;
  for (const SimulatedDialog& dialog : dialogs_)
    if (desktop_.exists(dialog.window)) result.push_back(&dialog);
  return result;
}

const SimulatedDialog* Screen::dialogWithButton(ElementID button, const std::string& label) const {
  const auto found = std::ranges::find_if(dialogs_, [&](const SimulatedDialog& dialog) {
    return desktop_.find(dialog.window, "AXButton", label) == button;
  });
  return found == dialogs_.end() ? nullptr : &*found;
}

bool Screen::reads(const SimulatedDialog& dialog, const DialogText& text) const {
  if (dialog.text.asksTheSame(text)) return true;
  return dialog.earlierText.asksTheSame(text) && clock_.continuous() - dialog.changedAt <= readingTime;
}

void Screen::forgetClosed() {
  std::erase_if(dialogs_, [this](const SimulatedDialog& dialog) { return !desktop_.exists(dialog.window); });
  forgotten_ = std::exchange(everRead_, {});
  for (const SimulatedDialog& dialog : dialogs_)
    everRead_.insert(dialog.text);
}

}  // namespace tallyfox::sim
