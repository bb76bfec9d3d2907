// Shows that what the windows of real programs do is told as the seam promises.

#include <atomic>

#include "contract/AccessibilityObserversContract.hpp"
#include "contract/macos/DistributedNotification.hpp"
#include "contract/macos/MacContractDesktop.hpp"
#include "contract/macos/Permission.hpp"
#include "platform/macos/MacAccessibility.hpp"
#include "platform/macos/MacAccessibilityObservers.hpp"

namespace tallyfox::contract {
namespace {

/// The owner alone gives and takes the permission, so that the test plays what the system says about it.
class PlayedTrust : public Accessibility {
 public:
  explicit PlayedTrust(Accessibility& real) : real_(real) {}

  void set(bool isTrusted) { isTrusted_ = isTrusted; }
  bool isProcessTrusted() override { return isTrusted_ && real_.isProcessTrusted(); }
  AXUIElement applicationElement(std::int32_t processIdentifier) override {
    return real_.applicationElement(processIdentifier);
  }
  AXUIElement systemWideElement() override { return real_.systemWideElement(); }
  std::expected<AXUIElement, AXError> elementAtPosition(AXPoint point) override {
    return real_.elementAtPosition(point);
  }
  std::unique_ptr<AXReadScope> willRead(const AXReadPlan& plan) override { return real_.willRead(plan); }

 private:
  Accessibility& real_;
  std::atomic<bool> isTrusted_ = true;
};

class MacObserversBackend : public MacContractDesktop {
 public:
  MacObserversBackend() {
    skipWithout(Permission::accessibility);
    onMain([this] { observers_ = std::make_unique<mac_os::MacAccessibilityObservers>(mainQueue(), trust_); });
  }
  ~MacObserversBackend() {
    onMain([this] { observers_.reset(); });
  }

  AccessibilityObservers& observers() { return *observers_; }
  std::int32_t launch() {
    StageProcess& stage = start();
    open(stage, {});
    settle(stage);
    return stage.pid();
  }
  void activate(std::int32_t pid) { bringForward(pid); }
  void openWindow(std::int32_t pid) { open(stage(pid), {.title = "Second"}); }
  void openSheet(std::int32_t pid) { stage(pid).ask({"sheet", "0"}); }
  void rename(std::int32_t pid, const std::string& title) { stage(pid).ask({"rename", "0", title}); }
  void minimize(std::int32_t pid) { stage(pid).ask({"minimize", "0"}); }
  void restore(std::int32_t pid) { stage(pid).ask({"restore", "0"}); }
  void close(std::int32_t pid) { stage(pid).ask({"close", "0"}); }
  void setTrusted(bool isTrusted) {
    trust_.set(isTrusted);
    postDistributedNotification("com.apple.accessibility.api");
  }
  [[nodiscard]] std::string sheetNotification() const { return "AXSheetCreated"; }
  [[nodiscard]] bool observesWithoutPermission() const { return false; }

 private:
  mac_os::MacAccessibility accessibility_{clock()};
  PlayedTrust trust_{accessibility_};
  std::unique_ptr<mac_os::MacAccessibilityObservers> observers_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, AccessibilityObserversContract, MacObserversBackend);

}  // namespace
}  // namespace tallyfox::contract
