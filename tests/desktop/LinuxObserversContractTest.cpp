// Shows that what is learned from a real X server and a real accessibility bus is told as the seam promises.

#include <map>

#include "contract/AccessibilityObserversContract.hpp"
#include "desktop/X11ContractDesktop.hpp"
#include "desktop/X11Program.hpp"
#include "platform/linux/LinuxAccessibilityObservers.hpp"
#include "platform/linux/TrustChangeWatcher.hpp"

namespace tallyfox::contract {
namespace {

using tallyfox::testing::X11Program;

/// Windows tell by the X server, which needs no permission and knows no sheets.
class LinuxObserversBackend : public tallyfox::testing::X11EventfulDesktop {
 public:
  LinuxObserversBackend() : X11EventfulDesktop({.windowManager = true, .accessibility = true}) {
    loop_.sync([this] {
      trust_ = std::make_unique<linux_os::TrustChangeWatcher>(session_->sessionBusAddress(), loop_);
      contents_ = std::make_unique<linux_os::AtspiEventSource>(session_->sessionBusAddress(), loop_);
      observers_ = std::make_unique<linux_os::LinuxAccessibilityObservers>(
          *source_, *contents_,
          [this](std::function<void()> onChange) { return trust_->subscribe(std::move(onChange)); });
    });
  }
  ~LinuxObserversBackend() {
    loop_.sync([this] {
      observers_.reset();
      contents_.reset();
      trust_.reset();
    });
  }

  AccessibilityObservers& observers() { return *observers_; }
  std::int32_t launch() {
    auto program = std::make_unique<X11Program>(*session_);
    const std::int32_t pid = program->pid();
    program->open({.title = "First"});
    programs_[pid] = std::move(program);
    settle(pid);
    return pid;
  }
  void activate(std::int32_t pid) { X11EventfulDesktop::activate(first(pid)); }
  void openWindow(std::int32_t pid) {
    X11EventfulDesktop::activate(programs_.at(pid)->open({.x = 400, .y = 300, .title = "Second"}));
  }
  void openSheet(std::int32_t pid) {
    X11Program& program = *programs_.at(pid);
    const xcb_window_t sheet = program.create({.width = 200, .height = 100, .title = "Sheet"});
    program.client().setNumbers(sheet, "WM_TRANSIENT_FOR", "WINDOW", {first(pid)});
    program.client().show(sheet);
  }
  void rename(std::int32_t pid, const std::string& title) { programs_.at(pid)->client().setTitle(first(pid), title); }
  void minimize(std::int32_t pid) { setMinimized(first(pid), true); }
  void restore(std::int32_t pid) { setMinimized(first(pid), false); }
  void close(std::int32_t pid) { programs_.at(pid)->client().destroy(first(pid)); }
  void quit(std::int32_t pid) { programs_.erase(pid); }
  void setTrusted(bool isTrusted) { session_->setAccessibilityEnabled(isTrusted); }
  [[nodiscard]] std::string sheetNotification() const { return "AXWindowCreated"; }
  [[nodiscard]] bool observesWithoutPermission() const { return true; }

 private:
  [[nodiscard]] xcb_window_t first(std::int32_t pid) const { return programs_.at(pid)->windows().front(); }

  std::unique_ptr<linux_os::TrustChangeWatcher> trust_;
  std::unique_ptr<linux_os::AtspiEventSource> contents_;
  std::unique_ptr<linux_os::LinuxAccessibilityObservers> observers_;
  std::map<std::int32_t, std::unique_ptr<X11Program>> programs_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, AccessibilityObserversContract, LinuxObserversBackend);

}  // namespace
}  // namespace tallyfox::contract
