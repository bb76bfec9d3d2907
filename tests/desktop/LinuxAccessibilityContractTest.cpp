// Shows that a real dialog on a real desktop is read and pressed as the seam promises.

#include <gmock/gmock.h>

#include <algorithm>

#include "contract/AccessibilityContract.hpp"
#include "desktop/AccessibilityFixture.hpp"
#include "platform/linux/LinuxClock.hpp"

namespace tallyfox::contract {
namespace {

using tallyfox::testing::DesktopProcess;
using tallyfox::testing::DesktopSession;

class LinuxAccessibilityBackend {
 public:
  Accessibility& accessibility() { return accessibility_; }
  AccessibilityElements& elements() { return accessibility_; }
  Clock& clock() { return clock_; }
  bool waitUntil(const std::function<bool()>& condition) { return DesktopSession::waitUntil(condition, Seconds(25)); }
  std::int32_t openDialog() {
    dialog_ = session_.start({"zenity", "--question", "--title=Contract dialog", "--text=Proceed with the contract?",
                              "--ok-label=OK", "--cancel-label=Cancel"});
    EXPECT_TRUE(waitUntil([this] { return hasFocus() && buttons() == 2; }));
    return dialog_->pid();
  }
  void setHanging(bool hangs) { dialog_->setStopped(hangs); }
  void quit() { dialog_.reset(); }

 private:
  [[nodiscard]] bool hasFocus() {
    const auto active = desktop_->activeWindow();
    return active && active->processIdentifier == dialog_->pid();
  }
  [[nodiscard]] std::ptrdiff_t buttons() {
    const auto windows = helpers_.windows(accessibility_.applicationElement(dialog_->pid()));
    if (windows.empty()) return 0;
    return std::ranges::count_if(helpers_.deeplyNestedChildren(windows.front(), 120), [this](const auto& element) {
      return helpers_.stringAttribute(element, AXAttribute::role) == ax_role::button;
    });
  }

  DesktopSession session_;
  tallyfox::testing::RecordingConsole console_;
  std::shared_ptr<linux_os::X11Desktop> desktop_ = linux_os::X11Desktop::open(session_.display()).value();
  linux_os::LinuxAccessibility accessibility_{desktop_, console_, session_.sessionBusAddress()};
  AXHelpers helpers_{accessibility_, accessibility_};
  linux_os::LinuxClock clock_;
  std::unique_ptr<DesktopProcess> dialog_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, AccessibilityContract, LinuxAccessibilityBackend);

}  // namespace
}  // namespace tallyfox::contract
