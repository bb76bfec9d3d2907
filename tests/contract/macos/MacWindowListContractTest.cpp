// Shows that the windows of a real session are listed as the seam promises.

#include "contract/WindowListContract.hpp"
#include "contract/macos/MacContractDesktop.hpp"
#include "contract/macos/Permission.hpp"
#include "platform/macos/MacWindowList.hpp"

namespace tallyfox::contract {
namespace {

/// A session has windows that are not the test's, and a program has some that it never shows: the list without those.
class StageWindowList : public WindowList {
 public:
  struct Opened {
    std::int32_t pid;
    ContractWindow window;
  };

  void add(const Opened& opened) { opened_.push_back(opened); }
  [[nodiscard]] const Opened& at(int window) const { return opened_.at(static_cast<std::size_t>(window)); }
  [[nodiscard]] int count() const { return static_cast<int>(opened_.size()); }
  std::vector<WindowInfo> windows(bool includeAllSpaces) override {
    std::vector<WindowInfo> listed = all_.windows(includeAllSpaces);
    std::erase_if(listed, [this](const WindowInfo& info) { return std::ranges::none_of(opened_, isShownAs(info)); });
    return listed;
  }

 private:
  static std::function<bool(const Opened&)> isShownAs(const WindowInfo& info) {
    return [&info](const Opened& opened) {
      return info.ownerProcessIdentifier == opened.pid && info.name.value_or("") == opened.window.title &&
             info.bounds && info.bounds->width == opened.window.frame.width;
    };
  }

  mac_os::MacWindowList all_;
  std::vector<Opened> opened_;
};

class MacWindowListBackend : public MacContractDesktop {
 public:
  /// Without it the titles of other programs' windows are kept back, by which the contract knows them.
  MacWindowListBackend() { skipWithout(Permission::screenRecording); }

  WindowList& windowList() { return windowList_; }
  int open(const ContractWindow& window) {
    StageProcess& stage = start();
    MacContractDesktop::open(
        stage, {.title = window.title, .frame = window.frame, .level = levelOf(window.layer), .alpha = window.alpha});
    windowList_.add({stage.pid(), window});
    EXPECT_TRUE(waitUntil([&] {
      return std::ranges::any_of(windowList_.windows(false),
                                 [&](const WindowInfo& info) { return info.ownerProcessIdentifier == stage.pid(); });
    }));
    return windowList_.count() - 1;
  }
  std::int32_t process(int window) { return windowList_.at(window).pid; }
  void raise(int window) { ask(window, "raise"); }
  void minimize(int window) { ask(window, "minimize"); }
  void restore(int window) { ask(window, "restore"); }
  void close(int window) { ask(window, "close"); }
  void setHanging(int window) { MacContractDesktop::setHanging(stage(process(window)), true); }
  /// No program may move a window there. Full screen is a space of its own, but one that comes to the front.
  bool moveToAnotherSpace(int) { return false; }

 private:
  static int levelOf(ContractLayer layer) {
    // A little below and above the normal one; the desktop's own is left out of the list.
    return layer == ContractLayer::panel ? 3 : (layer == ContractLayer::desktop ? -1 : 0);
  }
  void ask(int window, const std::string& command) { stage(process(window)).ask({command, "0"}); }

  StageWindowList windowList_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, WindowListContract, MacWindowListBackend);

}  // namespace
}  // namespace tallyfox::contract
