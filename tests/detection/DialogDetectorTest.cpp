// A scan publishes the approval dialogs seen twice in a row, each once, with what they say and offer; nothing another
// program shows can stop it.

#include "detection/DialogDetector.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "detection/DetectorDesktop.hpp"
#include "detection/DialogIdentity.hpp"

namespace tallyfox {
namespace {

using memory::accessPrompt;
using memory::buttonSpec;
using memory::ElementID;
using memory::ElementSpec;
using memory::messageBox;
using memory::spec;
using memory::textSpec;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct DialogDetectorTest : testing::Test {
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  std::int32_t pid = desktop.launch("Notes", "org.notes");

  /// A modal window of this content, every button's and text's own place given.
  ElementID openModal(std::vector<ElementSpec> children, std::optional<std::string> title = "Notes") {
    ElementSpec window = spec(ax_role::window, std::move(title), DialogFrame{100, 100, 400, 200});
    window.modal = true;
    window.children = std::move(children);
    return desktop.openWindow(pid, window);
  }
  /// What the element says of its place; nothing else moves.
  void tellFrame(ElementID element, const DialogFrame& frame) {
    desktop.setAttribute(element, AXAttribute::position, AXValue{AXPoint{frame.x, frame.y}});
    desktop.setAttribute(element, AXAttribute::size, AXValue{AXSize{frame.width, frame.height}});
  }
  PendingApproval only() {
    const auto approvals = world.published();
    EXPECT_THAT(approvals, SizeIs(1));
    return approvals.empty() ? PendingApproval{} : approvals.front();
  }
};

std::vector<std::string> titles(const std::vector<PendingApproval>& approvals) {
  std::vector<std::string> made;
  for (const auto& approval : approvals)
    made.push_back(approval.windowTitle);
  return made;
}

TEST_F(DialogDetectorTest, buildsTheWholeRecord) {
  desktop.openWindow(pid, accessPrompt());
  world.time.advance(Seconds{5});
  const PendingApproval found = only();
  EXPECT_EQ(found.detectedAt, world.time.clock().now());
  EXPECT_EQ(found.appName, "Notes");
  EXPECT_EQ(found.bundleIdentifier, "org.notes");
  EXPECT_EQ(found.processIdentifier, pid);
  EXPECT_EQ(found.windowTitle, "Access");
  EXPECT_EQ(found.windowRole, "AXWindow");
  EXPECT_EQ(found.windowFrame, (DialogFrame{400, 300, 420, 180}));
  EXPECT_THAT(found.messageLines, ElementsAre("Notes would like to access your contacts."));
  EXPECT_EQ(found.reason, "Notes would like to access your contacts.");
  EXPECT_THAT(found.buttonLabels(), ElementsAre("Don’t Allow", "Allow"));
  EXPECT_EQ(found.buttons.front().role, "AXButton");
  EXPECT_EQ(found.recommendedButtonLabel, "Allow");
  EXPECT_FALSE(found.requiresDirectAccess);
  EXPECT_EQ(found.directAccessReason, std::nullopt);
  EXPECT_FALSE(found.isFallbackDetection);
  EXPECT_EQ(found.id, DialogIdentity::approvalID("org.notes", found));
  EXPECT_EQ(found.suppressionID,
            DialogIdentity::suppressionID("org.notes", "Access", found.messageLines, found.buttonLabels()));
}

TEST_F(DialogDetectorTest, identifiesAnApplicationWithoutAnIdentifierByItsName) {
  desktop.openWindow(desktop.launch("Plain"), accessPrompt());
  const PendingApproval found = only();
  EXPECT_EQ(found.bundleIdentifier, std::nullopt);
  EXPECT_EQ(found.id, DialogIdentity::approvalID("Plain", found));
}

TEST_F(DialogDetectorTest, publishesNothingSeenOnce) {
  desktop.openWindow(pid, accessPrompt());
  EXPECT_THAT(world.detector.scan(), IsEmpty());
  EXPECT_THAT(world.detector.scan(), SizeIs(1));
}

TEST_F(DialogDetectorTest, leavesTheGateAloneWithoutTrust) {
  desktop.openWindow(pid, accessPrompt());
  (void)world.detector.scan();
  const auto counts = world.detector.candidateGate().observationCounts();
  desktop.setTrusted(false);
  EXPECT_THAT(world.detector.scan(), IsEmpty());
  EXPECT_EQ(world.detector.candidateGate().observationCounts(), counts);
  desktop.setTrusted(true);
  EXPECT_THAT(world.detector.scan(), SizeIs(1));
}

TEST_F(DialogDetectorTest, countsAWindowReachedInManyWaysOnce) {
  const ElementID window = desktop.openWindow(pid, accessPrompt());
  desktop.focusElement(desktop.find(window, "AXButton", "Allow"));
  EXPECT_THAT(world.published(), SizeIs(1));
}

TEST_F(DialogDetectorTest, findsAFocusedWindowThatItsApplicationDoesNotList) {
  desktop.openWindow(pid, messageBox("Document", {}, {"Save"}));
  const ElementID prompt = desktop.openWindow(pid, accessPrompt({0, 0, 420, 180}));
  const ElementID nested = desktop.addChild(prompt, buttonSpec("Help", {5, 5, 20, 20}));
  desktop.focusElement(nested);
  desktop.setAttribute(prompt, AXAttribute::minimized, std::nullopt);
  EXPECT_THAT(titles(world.published()), testing::Contains("Access"));
}

TEST_F(DialogDetectorTest, readsASheetInsideAnOrdinaryWindow) {
  const ElementID window = desktop.openWindow(pid, spec(ax_role::window, "Letter", DialogFrame{0, 0, 900, 700}));
  desktop.addChild(window, buttonSpec("Share", {10, 10, 60, 20}));
  ElementSpec sheet = messageBox("Save changes?", {"You have unsaved changes."}, {"Don’t Save", "Cancel", "Save"},
                                 {200, 100, 420, 180});
  sheet.role = ax_role::sheet;
  sheet.subrole = std::nullopt;
  sheet.modal = std::nullopt;
  desktop.addChild(window, sheet);
  const PendingApproval found = only();
  EXPECT_EQ(found.windowRole, "AXSheet");
  EXPECT_EQ(found.windowTitle, "Save changes?");
  EXPECT_EQ(found.windowFrame, (DialogFrame{200, 100, 420, 180}));
  EXPECT_THAT(found.buttonLabels(), ElementsAre("Don’t Save", "Cancel", "Save"));
}

TEST_F(DialogDetectorTest, takesTitleAndFrameOfTheWindowForASheetWithoutThem) {
  const ElementID window = desktop.openWindow(pid, spec(ax_role::window, "Letter", DialogFrame{0, 0, 900, 700}));
  const ElementID sheet = desktop.addChild(window, spec(ax_role::sheet));
  desktop.addChild(sheet, textSpec("Are you sure?", DialogFrame{10, 10, 100, 20}));
  desktop.addChild(sheet, buttonSpec("Delete", {10, 40, 60, 20}));
  const PendingApproval found = only();
  EXPECT_EQ(found.windowRole, "AXSheet");
  EXPECT_EQ(found.windowTitle, "Letter");
  EXPECT_EQ(found.windowFrame, (DialogFrame{0, 0, 900, 700}));
}

TEST_F(DialogDetectorTest, takesTheFirstContainerOfTheWalk) {
  const ElementID window = desktop.openWindow(pid, spec(ax_role::window, "Letter", DialogFrame{0, 0, 900, 700}));
  for (const char* title : {"First", "Last"}) {
    ElementSpec dialog = messageBox(title, {"Are you sure?"}, {"Cancel", "OK"});
    dialog.role = "AXGroup";
    desktop.addChild(window, dialog);
  }
  EXPECT_EQ(only().windowTitle, "Last");
}

TEST_F(DialogDetectorTest, findsNoContainerBeyondFortyElements) {
  const ElementID window = desktop.openWindow(pid, spec(ax_role::window, "Letter", DialogFrame{0, 0, 900, 700}));
  const ElementID sheet = desktop.addChild(window, messageBox("Deep", {"Are you sure?"}, {"Cancel", "OK"}));
  for (int i = 0; i < 39; ++i)
    desktop.addChild(window, spec("AXGroup"));
  EXPECT_THAT(titles(world.published()), ElementsAre("Deep"));
  desktop.addChild(window, spec("AXGroup"));
  // The texts and buttons still lie within the window's own eighty elements.
  EXPECT_THAT(titles(world.published()), ElementsAre("Letter"));
  EXPECT_TRUE(desktop.exists(sheet));
}

TEST_F(DialogDetectorTest, labelsAButtonByItsDescriptionWithoutATitle) {
  ElementSpec described = buttonSpec("", {100, 0, 40, 20});
  described.description = "Allow";
  ElementSpec untitled = buttonSpec("", {0, 0, 40, 20});
  untitled.title = std::nullopt;
  untitled.description = "Deny";
  openModal({described, untitled});
  EXPECT_THAT(only().buttonLabels(), ElementsAre("Deny", "Allow"));
}

TEST_F(DialogDetectorTest, ignoresButtonsWithoutALabelOrASize) {
  ElementSpec unplaced = buttonSpec("Nowhere", {});
  unplaced.frame = std::nullopt;
  ElementSpec blank = buttonSpec("", {0, 0, 40, 20});
  openModal({blank, unplaced, buttonSpec("Flat", {0, 0, 40, 0}), buttonSpec("Thin", {0, 0, 0, 20}),
             buttonSpec("Negative", {0, 0, -5, 20}), buttonSpec("Cancel", {0, 0, 40, 20}),
             buttonSpec("OK", {100, 0, 40, 20})});
  EXPECT_THAT(only().buttonLabels(), ElementsAre("Cancel", "OK"));
}

TEST_F(DialogDetectorTest, ordersButtonsByTheirLeftEdgeThenByTheWalk) {
  openModal(
      {buttonSpec("OK", {50, 0, 40, 20}), buttonSpec("Cancel", {50, 40, 40, 20}), buttonSpec("Later", {0, 0, 40, 20})});
  EXPECT_THAT(only().buttonLabels(), ElementsAre("Later", "Cancel", "OK"));
}

TEST_F(DialogDetectorTest, readsTextsFromValueElseTitleWithoutRepetitionsAndLabels) {
  ElementSpec titled = spec(ax_role::staticText, "From the title", DialogFrame{10, 40, 100, 20});
  titled.value = "";
  ElementSpec field = spec("AXTextField", std::nullopt, DialogFrame{10, 80, 100, 20});
  field.value = "typed";
  openModal({textSpec("Second", DialogFrame{10, 20, 100, 20}), textSpec("First", DialogFrame{10, 0, 100, 20}), titled,
             field, textSpec("Second", DialogFrame{10, 60, 100, 20}), textSpec("OK", DialogFrame{10, 90, 10, 10}),
             textSpec("", DialogFrame{10, 95, 10, 10}), textSpec("Two\nlines", DialogFrame{10, 100, 100, 40}),
             buttonSpec("OK", {0, 0, 40, 20})});
  // Of a repeated text the one that the walk meets first stays: the last child's.
  EXPECT_THAT(only().messageLines, ElementsAre("First", "From the title", "Second", "Two\nlines"));
}

TEST_F(DialogDetectorTest, summarisesByLinesElseTitleElseButtons) {
  const ElementID window = openModal({buttonSpec("Cancel", {0, 0, 40, 20}), buttonSpec("OK", {50, 0, 40, 20})}, "");
  EXPECT_EQ(only().reason, "Blocking Notes with buttons: Cancel, OK");
  desktop.setTitle(window, "Quit?");
  EXPECT_EQ(only().reason, "Quit?");
  desktop.addChild(window, textSpec("Below", DialogFrame{0, 60, 40, 20}));
  desktop.addChild(window, textSpec("Above", DialogFrame{0, 30, 40, 20}));
  EXPECT_EQ(only().reason, "Above\nBelow");
}

TEST_F(DialogDetectorTest, neverShowsASuppressedDialog) {
  desktop.openWindow(pid, accessPrompt());
  const PendingApproval found = only();
  world.suppressed.insert(found.suppressionID);
  EXPECT_THAT(world.detector.scan(), IsEmpty());
  EXPECT_THAT(world.detector.candidateGate().observationCounts(), IsEmpty());
}

TEST_F(DialogDetectorTest, marksSecretsForDirectAccess) {
  desktop.openWindow(pid, messageBox("Sign in", {"Enter your password."}, {"Cancel", "OK"}));
  const PendingApproval found = only();
  EXPECT_TRUE(found.requiresDirectAccess);
  EXPECT_TRUE(found.directAccessReason && found.directAccessReason->starts_with("This dialog asks for a password"));
}

TEST_F(DialogDetectorTest, rejectsChromeInAPlainWindowButNotInADialog) {
  ElementSpec window = accessPrompt();
  window.modal = std::nullopt;
  window.subrole = std::nullopt;
  window.children.push_back(spec(ax_role::toolbar));
  const ElementID opened = desktop.openWindow(pid, window);
  EXPECT_THAT(world.published(), IsEmpty());
  desktop.setAttribute(opened, AXAttribute::modal, AXValue{true});
  EXPECT_THAT(world.published(), SizeIs(1));
}

TEST_F(DialogDetectorTest, looksForChromeAmongEightyElements) {
  ElementSpec window = accessPrompt();
  window.modal = std::nullopt;
  window.subrole = std::nullopt;
  window.children.insert(window.children.begin(), spec(ax_role::outline));
  for (int i = 0; i < 76; ++i)
    window.children.push_back(spec("AXGroup"));
  const ElementID opened = desktop.openWindow(pid, window);
  EXPECT_THAT(world.published(), IsEmpty());
  desktop.addChild(opened, spec("AXGroup"));
  EXPECT_THAT(world.published(), SizeIs(1));
}

TEST_F(DialogDetectorTest, publishesIdenticalRecordsOnce) {
  desktop.openWindow(pid, accessPrompt());
  desktop.openWindow(pid, accessPrompt());
  EXPECT_THAT(world.published(), SizeIs(1));
}

TEST_F(DialogDetectorTest, neverReportsTheAgentsOwnWindows) {
  const ElementID own = desktop.openWindow(desktop.applications().ownProcessIdentifier(), accessPrompt());
  desktop.focusElement(desktop.find(own, "AXButton", "Allow"));
  EXPECT_THAT(world.published(), IsEmpty());
}

TEST_F(DialogDetectorTest, survivesFramesThatNoScreenHas) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const DialogFrame& broken :
       {DialogFrame{nan, nan, nan, nan}, DialogFrame{0, 0, infinity, 10}, DialogFrame{1e300, -1e300, 10, 10}}) {
    const ElementID window = desktop.openWindow(pid, accessPrompt());
    tellFrame(window, broken);
    EXPECT_THAT(world.published(), IsEmpty());
    tellFrame(window, DialogFrame{0, 0, 400, 200});
    tellFrame(desktop.find(window, "AXButton", "Allow"), broken);
    EXPECT_THAT(only().buttonLabels(), ElementsAre("Don’t Allow")) << broken.x << "," << broken.width;
    desktop.closeWindow(window);
  }
}

TEST_F(DialogDetectorTest, survivesATreeThatGoesInACircle) {
  const ElementID window = desktop.openWindow(pid, accessPrompt());
  desktop.setAttribute(window, AXAttribute::children, AXValue{std::vector{desktop.element(window)}});
  EXPECT_THAT(world.published(), IsEmpty());
}

TEST_F(DialogDetectorTest, printsDiagnosticsOfEveryWindowOnlyWhenAsked) {
  desktop.openWindow(pid, accessPrompt());
  desktop.openWindow(pid, spec(ax_role::window, "Document", DialogFrame{0, 0, 900, 700}));
  (void)world.detector.scan();
  EXPECT_THAT(world.console.lines(), IsEmpty());
  world.diagnosticsEnabled = true;
  (void)world.detector.scan();
  EXPECT_THAT(world.console.lines(), testing::UnorderedElementsAre(
                                         testing::HasSubstr(R"("accepted":true)"),
                                         testing::HasSubstr("No actionable buttons exposed through Accessibility.")));
}

}  // namespace
}  // namespace tallyfox
