// Shows that real dialogs of a real program are read and pressed as the seam promises: one that a program builds
// itself, and the system's own alert.

#include "contract/AccessibilityContract.hpp"
#include "contract/macos/MacContractDesktop.hpp"
#include "contract/macos/Permission.hpp"
#include "platform/macos/MacAccessibility.hpp"

namespace tallyfox::contract {
namespace {

enum class DialogKind { panel, alert };

template <DialogKind kind>
class MacAccessibilityBackend : public MacContractDesktop {
 public:
  MacAccessibilityBackend() { skipWithout(Permission::accessibility); }

  Accessibility& accessibility() { return accessibility_; }
  AccessibilityElements& elements() { return accessibility_; }
  std::int32_t openDialog() {
    if (!isGranted(Permission::accessibility)) return 0;
    StageProcess& stage = start();
    stage.ask({"dialog", kind == DialogKind::panel ? "panel" : "alert"});
    settle(stage);
    pid_ = stage.pid();
    return pid_;
  }
  void setHanging(bool hangs) { MacContractDesktop::setHanging(stage(pid_), hangs); }
  void quit() { MacContractDesktop::quit(pid_); }

 private:
  mac_os::MacAccessibility accessibility_{clock()};
  std::int32_t pid_ = 0;
};
INSTANTIATE_TYPED_TEST_SUITE_P(MacPanel, AccessibilityContract, MacAccessibilityBackend<DialogKind::panel>);
INSTANTIATE_TYPED_TEST_SUITE_P(MacAlert, AccessibilityContract, MacAccessibilityBackend<DialogKind::alert>);

}  // namespace
}  // namespace tallyfox::contract
