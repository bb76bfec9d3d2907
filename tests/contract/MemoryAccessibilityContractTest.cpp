// Shows that the desktop in memory can be read and pressed as a real one.

#include "contract/AccessibilityContract.hpp"
#include "platform/memory/MemoryDesktop.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::contract {
namespace {

class MemoryAccessibilityBackend {
 public:
  Accessibility& accessibility() { return desktop_.accessibility(); }
  AccessibilityElements& elements() { return desktop_.elements(); }
  Clock& clock() { return time_.clock(); }
  std::int32_t openDialog() {
    pid_ = desktop_.launch("Contract");
    desktop_.openWindow(pid_, memory::messageBox("Contract dialog", {"Proceed with the contract?"}, {"Cancel", "OK"}));
    return pid_;
  }
  void setHanging(bool hangs) { desktop_.setFault(pid_, hangs ? memory::Fault::hang : memory::Fault::none); }
  void quit() { desktop_.quit(pid_); }
  bool waitUntil(const std::function<bool()>& condition) { return time_.advanceUntil(condition, Seconds{5}); }

 private:
  memory::VirtualTime time_;
  std::shared_ptr<SerialQueue> mainQueue_ = time_.makeQueue("main");
  memory::MemoryDesktop desktop_{time_.clock(), *mainQueue_};
  std::int32_t pid_ = 0;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, AccessibilityContract, MemoryAccessibilityBackend);

}  // namespace
}  // namespace tallyfox::contract
