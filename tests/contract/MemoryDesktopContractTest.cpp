// Shows that the desktop in memory tells of itself, lists its applications and windows, and takes keys and clicks as a
// real one does.

#include <map>

#include "contract/AccessibilityObserversContract.hpp"
#include "contract/ApplicationsContract.hpp"
#include "contract/SyntheticInputContract.hpp"
#include "contract/WindowListContract.hpp"
#include "platform/memory/MemoryDesktop.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::contract {
namespace {

/// A desktop, and programs with a window each.
class MemoryDesktopBackend {
 public:
  SerialQueue& mainQueue() { return *mainQueue_; }
  void onMain(const std::function<void()>& work) { runOn(*mainQueue_, work); }
  void onAnotherThread(const std::function<void()>& work) { runOn(*otherQueue_, work); }
  bool waitUntil(const std::function<bool()>& condition) { return time_.advanceUntil(condition, Seconds{5}); }
  void quit(std::int32_t pid) { desktop_.quit(pid); }

 protected:
  std::int32_t launchWithWindow(std::optional<std::string> identifier, DialogFrame frame = {400, 300, 420, 180}) {
    const std::int32_t pid = desktop_.launch("Contract", std::move(identifier));
    windows_[pid] = desktop_.openWindow(pid, memory::messageBox("First", {}, {}, frame));
    time_.runDue();
    return pid;
  }
  void bringForward(std::int32_t pid) {
    desktop_.raise(windows_.at(pid));
    desktop_.focusWindow(windows_.at(pid));
  }

  memory::VirtualTime time_;
  std::shared_ptr<SerialQueue> mainQueue_ = time_.makeQueue("main");
  std::shared_ptr<SerialQueue> otherQueue_ = time_.makeQueue("other");
  memory::MemoryDesktop desktop_{time_.clock(), *mainQueue_};
  std::map<std::int32_t, memory::ElementID> windows_;  ///< the first one of each process

 private:
  void runOn(SerialQueue& queue, const std::function<void()>& work) {
    bool isDone = false;
    queue.post([&] {
      work();
      isDone = true;
    });
    EXPECT_TRUE(waitUntil([&] { return isDone; }));
  }
};

class MemoryObserversBackend : public MemoryDesktopBackend {
 public:
  AccessibilityObservers& observers() { return desktop_.observers(); }
  std::int32_t launch() { return launchWithWindow(std::nullopt); }
  void activate(std::int32_t pid) { bringForward(pid); }
  void openWindow(std::int32_t pid) { desktop_.openWindow(pid, memory::messageBox("Second", {}, {"OK"})); }
  void openSheet(std::int32_t pid) { desktop_.addChild(windows_.at(pid), {.role = std::string(ax_role::sheet)}); }
  void rename(std::int32_t pid, const std::string& title) { desktop_.setTitle(windows_.at(pid), title); }
  void minimize(std::int32_t pid) { desktop_.setMinimized(windows_.at(pid), true); }
  void restore(std::int32_t pid) { desktop_.setMinimized(windows_.at(pid), false); }
  void close(std::int32_t pid) { desktop_.closeWindow(windows_.at(pid)); }
  void setTrusted(bool isTrusted) { desktop_.setTrusted(isTrusted); }
  [[nodiscard]] std::string sheetNotification() const { return "AXSheetCreated"; }
  [[nodiscard]] bool observesWithoutPermission() const { return false; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, AccessibilityObserversContract, MemoryObserversBackend);

/// Hiding and spaces do not exist in this desktop: their events are played.
class MemoryApplicationsBackend : public MemoryDesktopBackend {
 public:
  Applications& applications() { return desktop_.applications(); }
  std::int32_t launch(ContractProgram program = {}) {
    if (program == ContractProgram::background) return desktop_.launch("Contract", "org.example.contract", false);
    return launchWithWindow(program == ContractProgram::withoutIdentifier ? std::nullopt
                                                                          : std::optional("org.example.contract"));
  }
  void activate(std::int32_t pid) { bringForward(pid); }
  void hide(std::int32_t pid) { desktop_.postWorkspaceEvent({WorkspaceEventKind::hidden, pid}); }
  void unhide(std::int32_t pid) { desktop_.postWorkspaceEvent({WorkspaceEventKind::unhidden, pid}); }
  void switchSpace() { desktop_.postWorkspaceEvent({WorkspaceEventKind::activeSpaceChanged, 0}); }
  void setHanging(std::int32_t pid, bool hangs) {
    desktop_.setFault(pid, hangs ? memory::Fault::hang : memory::Fault::none);
  }
  bool isRunning(std::int32_t pid) { return desktop_.applications().application(pid).has_value(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ApplicationsContract, MemoryApplicationsBackend);

class MemoryWindowListBackend : public MemoryDesktopBackend {
 public:
  WindowList& windowList() { return desktop_.windowList(); }
  int open(const ContractWindow& window) {
    const std::int32_t pid = desktop_.launch("Contract");
    const memory::ElementID id = desktop_.openWindow(pid, memory::messageBox(window.title, {}, {}, window.frame));
    desktop_.setWindowAlpha(id, window.alpha);
    desktop_.setWindowLayer(
        id, window.layer == ContractLayer::panel ? 20 : (window.layer == ContractLayer::desktop ? -1 : 0));
    opened_.push_back({pid, id});
    return static_cast<int>(opened_.size() - 1);
  }
  std::int32_t process(int window) { return at(window).pid; }
  void raise(int window) { desktop_.raise(at(window).id); }
  void minimize(int window) { desktop_.setMinimized(at(window).id, true); }
  void restore(int window) { desktop_.setMinimized(at(window).id, false); }
  void close(int window) { desktop_.closeWindow(at(window).id); }
  void setHanging(int window) { desktop_.setFault(at(window).pid, memory::Fault::hang); }
  void stopServer() { desktop_.stopWindowServer(); }
  bool moveToAnotherSpace(int) { return false; }

 private:
  struct Opened {
    std::int32_t pid;
    memory::ElementID id;
  };
  [[nodiscard]] const Opened& at(int window) const { return opened_.at(static_cast<std::size_t>(window)); }
  std::vector<Opened> opened_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, WindowListContract, MemoryWindowListBackend);

class MemoryInputBackend : public MemoryDesktopBackend {
 public:
  SyntheticInput& input() { return desktop_.input(); }
  SyntheticInput& missingInput() {
    desktop_.failEventCreation(true);
    return desktop_.input();
  }
  std::int32_t openReceiver(const DialogFrame& frame) { return launchWithWindow(std::nullopt, frame); }
  void focus(std::int32_t pid) { bringForward(pid); }
  std::vector<std::string> received(std::int32_t pid) { return desktop_.input(pid); }
  [[nodiscard]] bool directsKeysAnywhere() const { return true; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SyntheticInputContract, MemoryInputBackend);

}  // namespace
}  // namespace tallyfox::contract
