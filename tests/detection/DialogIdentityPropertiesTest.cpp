// For every dialog: each identity depends on exactly what it is made from, held against the texts written out plainly.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "detection/DialogIdentity.hpp"
#include "model/Generators.hpp"

namespace tallyfox {
namespace {

rc::Gen<double> coordinate() {
  return rc::gen::map(rc::gen::inRange(-40'000, 40'000), [](int tenths) { return tenths / 10.0; });
}

/// A dialog as a screen can show it; few different texts, so that two dialogs are often alike in part.
rc::Gen<PendingApproval> dialog() {
  const auto word = rc::gen::element<std::string>("", "OK", "Cancel", "a|b", "a", "b", ",", "Don’t");
  const auto words = rc::gen::resize(3, rc::gen::container<std::vector<std::string>>(word));
  return rc::gen::exec([word, words] {
    PendingApproval made;
    made.windowTitle = *word;
    made.windowFrame = {*coordinate(), *coordinate(), *coordinate(), *coordinate()};
    made.messageLines = *words;
    for (const std::string& label : *words)
      made.buttons.push_back({label, "AXButton", 0, 0, 0, 0});
    return made;
  });
}

std::string fingerprint(const std::string& app, const PendingApproval& approval) {
  std::ostringstream text;
  const DialogFrame& frame = approval.windowFrame;
  text << app << '|' << approval.windowTitle << '|' << static_cast<long>(frame.x) << ',' << static_cast<long>(frame.y)
       << ',' << static_cast<long>(frame.width) << ',' << static_cast<long>(frame.height) << '|';
  for (std::size_t line = 0; line < approval.messageLines.size(); ++line)
    text << (line > 0 ? "|" : "") << approval.messageLines[line];
  text << '|';
  for (std::size_t button = 0; button < approval.buttons.size(); ++button)
    text << (button > 0 ? "," : "") << approval.buttons[button].label;
  return text.str();
}

Uuid suppression(const std::string& app, const PendingApproval& approval) {
  return DialogIdentity::suppressionID(app, approval.windowTitle, approval.messageLines, approval.buttonLabels());
}

std::vector<std::string> sorted(std::vector<std::string> texts) {
  std::ranges::sort(texts);
  return texts;
}

RC_GTEST_PROP(DialogIdentityProperties, fingerprintsAreDigestsOfTheirText, ()) {
  const std::string app = *generate::text();
  const PendingApproval approval = *dialog();
  RC_ASSERT(DialogIdentity::approvalID(app, approval) == DialogIdentity::digestID(fingerprint(app, approval)));
}

RC_GTEST_PROP(DialogIdentityProperties, fingerprintsDifferExactlyAsTheirTextsDo, ()) {
  const PendingApproval one = *dialog();
  const PendingApproval other = *dialog();
  RC_ASSERT((DialogIdentity::approvalID("app", one) == DialogIdentity::approvalID("app", other)) ==
            (fingerprint("app", one) == fingerprint("app", other)));
}

RC_GTEST_PROP(DialogIdentityProperties, nothingElseEntersAnIdentity, ()) {
  const PendingApproval approval = *dialog();
  PendingApproval changed = *generate::approval();
  changed.windowTitle = approval.windowTitle;
  changed.windowFrame = approval.windowFrame;
  changed.messageLines = approval.messageLines;
  changed.buttons = approval.buttons;
  for (DialogButton& button : changed.buttons) {
    button.role = *generate::text();
    button.x = *generate::finiteNumber();
  }
  RC_ASSERT(DialogIdentity::approvalID("app", changed) == DialogIdentity::approvalID("app", approval));
  RC_ASSERT(suppression("app", changed) == suppression("app", approval));
}

RC_GTEST_PROP(DialogIdentityProperties, suppressionSurvivesMovesAndReorderedButtons, ()) {
  const PendingApproval approval = *dialog();
  PendingApproval moved = approval;
  moved.windowFrame = {*coordinate(), *coordinate(), *coordinate(), *coordinate()};
  for (std::size_t last = moved.buttons.size(); last > 1; --last)
    std::swap(moved.buttons[last - 1], moved.buttons[*rc::gen::inRange<std::size_t>(0, last)]);
  RC_ASSERT(suppression("app", moved) == suppression("app", approval));
}

RC_GTEST_PROP(DialogIdentityProperties, suppressionTellsEveryOtherDifference, ()) {
  const PendingApproval one = *dialog();
  const PendingApproval other = *dialog();
  const std::string app = *rc::gen::element<std::string>("a", "b");
  const bool isAlike = app == "a" && one.windowTitle == other.windowTitle && one.messageLines == other.messageLines &&
                       sorted(one.buttonLabels()) == sorted(other.buttonLabels());
  RC_ASSERT((suppression("a", one) == suppression(app, other)) == isAlike);
}

RC_GTEST_PROP(DialogIdentityProperties, anyTwoTextsAreToldApart, ()) {
  const std::string one = *generate::text();
  const std::string other = *generate::text();
  RC_ASSERT((DialogIdentity::digestID(one) == DialogIdentity::digestID(other)) == (one == other));
}

}  // namespace
}  // namespace tallyfox
