// A real office program: its question about unsaved changes, an alert among large windows, is read and answered; and
// its large window is read no further than the walk goes.

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/Scanner.hpp"

namespace tallyfox::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

/// Offices start slowly on a busy machine.
constexpr Seconds officeTime{90};

class AccessibilityOfAnOffice : public AccessibilityFixture {
 protected:
  [[nodiscard]] std::vector<linux_os::XWindow> screenWindows() { return desktop->windowsFrontToBack(); }
  [[nodiscard]] bool isDocumentActive() {
    const auto active = desktop->activeWindow();
    return active && active->title.find("Writer") != std::string::npos;
  }
  [[nodiscard]] bool isStartPageActive() {
    const auto active = desktop->activeWindow();
    return active && active->title == "LibreOffice";
  }
  /// Keys to whichever window has the focus.
  void type(const std::vector<std::string>& keys) {
    std::vector<std::string> command = {"xdotool", "key", "--delay", "60"};
    command.insert(command.end(), keys.begin(), keys.end());
    EXPECT_EQ(session.start(command)->waitForExit(), 0);
  }
};

TEST_F(AccessibilityOfAnOffice, theQuestionAboutUnsavedChangesIsReadAndAnswered) {
  const auto office = session.start({"soffice", "--writer", "--norestore", "--nologo", "--nofirststartwizard"},
                                    {"SAL_USE_VCLPLUGIN=gtk3"});
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return isDocumentActive(); }, officeTime));
  Scanner scanner(session);
  std::vector<PendingApproval> approvals;
  const auto asksToSave = [&] {
    // An office that was not ready for the letter closes the untouched document and shows its start page.
    if (isStartPageActive()) type({"ctrl+n"});
    if (screenWindows().size() < 2 && isDocumentActive()) type({"a", "ctrl+w"});
    approvals = scanner.scan();
    return !approvals.empty();
  };
  ASSERT_TRUE(DesktopSession::waitUntil(asksToSave, officeTime));

  ASSERT_EQ(approvals.size(), 1U) << "the document itself is no question";
  std::vector<std::string> labels;
  for (const DialogButton& label : approvals[0].buttons)
    labels.push_back(label.label);
  EXPECT_THAT(labels, IsSupersetOf({"Don’t Save", "Cancel", "Save"}));
  EXPECT_THAT(approvals[0].messageLines, Contains(HasSubstr("Save changes to document")));
  EXPECT_GT(approvals[0].windowFrame.width, 100);

  const AXUIElement application = accessibility.applicationElement(approvals[0].processIdentifier);
  for (const AXUIElement& window : helpers.windows(application)) {
    if (const auto found = button(window, "Don’t Save")) {
      EXPECT_TRUE(accessibility.performAction(*found, ax_action::press));
    }
  }
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return !isDocumentActive() && screenWindows().size() <= 1; }, officeTime))
      << "the document is closed";
}

}  // namespace
}  // namespace tallyfox::testing
