#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/ApprovalStore.hpp"
#include "app/RemoteDecisions.hpp"
#include "desktop/AccessibilityFixture.hpp"
#include "desktop/DialogProgram.hpp"
#include "desktop/X11TestClient.hpp"
#include "detection/AnswerWitness.hpp"
#include "detection/DialogDetector.hpp"
#include "platform/linux/LinuxApplications.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/LinuxWindowList.hpp"
#include "platform/linux/MainEventLoop.hpp"
#include "platform/linux/X11EventSource.hpp"
#include "platform/linux/XTestInput.hpp"

namespace tallyfox::testing {

/// Something that a test does at a chosen moment of a click, once.
using Moment = std::function<void()>;

/// The real clock. What is set happens at the beginning of the next wait: after the press, while the executor looks
/// whether the dialog goes.
class MomentClock final : public linux_os::LinuxClock {
 public:
  Moment atNextWait;
  void sleep(Seconds duration) override {
    if (const Moment moment = std::exchange(atNextWait, nullptr)) moment();
    LinuxClock::sleep(duration);
  }
};

/// The real elements. What is set happens right before the next press, when nothing is checked any more.
class MomentElements final : public AnswerWitness {
 public:
  using AnswerWitness::AnswerWitness;
  Moment beforeNextPress;
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action) override {
    if (action == ax_action::press)
      if (const Moment moment = std::exchange(beforeNextPress, nullptr)) moment();
    return AnswerWitness::performAction(element, action);
  }
};

[[nodiscard]] inline std::string nameOfCase(const ::testing::TestParamInfo<DialogToolkit>& toolkit) {
  return std::string(name(toolkit.param));
}

/// Everything between a scan and the answer to the phone, on a private desktop. A bystander's window fills the screen
/// behind the dialogs: input that misses them lands there.
class ClickFixture : public AccessibilityFixture {
 protected:
  static constexpr const char* stillVisible =
      "failed: The dialog was still visible after Tallyfox tried every safe click path.";
  static constexpr const char* failedGone = "failed: The approved button no longer exists on screen.";
  static constexpr const char* notFound = "not_found: The approved button no longer exists on screen.";

  /// Starts a program and waits until its dialog has the focus and can be read.
  [[nodiscard]] std::unique_ptr<DialogProgram> open(DialogToolkit toolkit, const std::vector<std::string>& words) {
    auto program = std::make_unique<DialogProgram>(session, toolkit, words);
    (void)windowOf(program->process());
    return program;
  }
  /// All dialogs that are pending of the program, once there are so many.
  [[nodiscard]] std::vector<PendingApproval> approvalsOf(const DialogProgram& program, std::size_t count) {
    std::vector<PendingApproval> found;
    const bool areThere = DesktopSession::waitUntil([&] {
      store.replace(detector.scan());
      found = store.all();
      std::erase_if(found, [&](const auto& approval) { return approval.processIdentifier != program.pid(); });
      return found.size() == count;
    });
    EXPECT_TRUE(areThere) << found.size() << " dialogs";
    return found;
  }
  [[nodiscard]] PendingApproval approvalOf(const DialogProgram& program) {
    auto found = approvalsOf(program, 1);
    return found.empty() ? PendingApproval{} : found.front();
  }
  /// What the owner reads of an accepted decision, else status and error for the phone.
  std::string decide(const PendingApproval& approval, const std::string& label) {
    const ApprovalResultCommand result =
        decisions.carryOut({.decisionID = "d", .command = {approval.id, label}, .issuedAt = std::nullopt});
    if (result.error) return result.status + ": " + *result.error;
    constexpr std::string_view prefix = "Decision d: ";
    return console.lines().back().substr(prefix.size());
  }
  /// Its frontmost.
  [[nodiscard]] linux_os::XWindow screenWindow(const DialogProgram& program) {
    return screenWindowOf(program.pid()).value_or(linux_os::XWindow{});
  }
  /// By a window that the window manager keeps above all others.
  void coverEverything() {
    const xcb_window_t cover = bystander.create({.x = 0, .y = 0, .width = 1280, .height = 780, .title = "On top"});
    bystander.setAtom(cover, "_NET_WM_STATE", "_NET_WM_STATE_ABOVE");
    bystander.show(cover);
  }
  /// Moves a dialog, and waits until it and its program know.
  void move(const linux_os::XWindow& window, std::int16_t x, std::int16_t y) {
    bystander.move(window.id, x, y);
    EXPECT_TRUE(DesktopSession::waitUntil([&] {
      for (const linux_os::XWindow& each : desktop->windowsFrontToBack())
        if (each.id == window.id) return each.clientFrame.x != window.clientFrame.x;
      return false;
    }));
  }
  /// What was pressed at any window but the dialogs. Releases come there too, when a dialog closes on the press.
  [[nodiscard]] std::vector<std::string> strayInput() {
    bystander.synchronize();
    std::vector<std::string> entries = bystander.takeInput();
    std::erase_if(entries, [](const std::string& entry) { return entry.contains("release"); });
    return entries;
  }

  linux_os::MainEventLoop mainLoop;
  linux_os::X11EventSource events{session.display(), mainLoop, mainLoop};
  linux_os::LinuxApplications applications{{desktop, events, mainLoop, {}, nullptr}};
  linux_os::LinuxWindowList windowList{desktop};
  linux_os::XTestInput input{desktop, session.display()};
  MomentClock clock;
  MomentElements elements{accessibility};
  DialogDetector detector{{.accessibility = accessibility,
                           .elements = accessibility,
                           .applications = applications,
                           .windowList = windowList,
                           .clock = clock,
                           .console = console,
                           .isSuppressed = [](const Uuid&) { return false; },
                           .diagnosticsEnabled = [] { return false; }}};
  ApprovalStore store{Seconds(8), clock};
  DialogFocusResolver resolver{detector};
  ClickExecutor executor{{accessibility, elements, input, clock}};
  RemoteDecisions decisions{{.store = store,
                             .resolver = resolver,
                             .executor = executor,
                             .accessibility = accessibility,
                             .elements = accessibility,
                             .console = console}};
  X11TestClient bystander{session.display()};
  xcb_window_t bystanderWindow = bystander.open({.x = 0, .y = 0, .width = 1280, .height = 780, .title = "Bystander"});
};

}  // namespace tallyfox::testing
