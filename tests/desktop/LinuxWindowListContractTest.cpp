// Shows that the windows of a real X display under a real window manager are listed as the seam promises.

#include "contract/WindowListContract.hpp"
#include "desktop/X11ContractDesktop.hpp"
#include "desktop/X11Program.hpp"
#include "platform/linux/LinuxWindowList.hpp"

namespace tallyfox::contract {
namespace {

using tallyfox::testing::X11Program;

class LinuxWindowListBackend : public tallyfox::testing::X11ContractDesktop {
 public:
  WindowList& windowList() { return windowList_; }
  int open(const ContractWindow& window) {
    programs_.push_back(std::make_unique<X11Program>(*session_));
    X11Program& program = *programs_.back();
    const xcb_window_t made = program.create({.x = static_cast<std::int16_t>(window.frame.x),
                                              .y = static_cast<std::int16_t>(window.frame.y),
                                              .width = static_cast<std::uint16_t>(window.frame.width),
                                              .height = static_cast<std::uint16_t>(window.frame.height),
                                              .title = window.title});
    if (window.layer != ContractLayer::normal)
      program.client().setAtom(
          made, "_NET_WM_WINDOW_TYPE",
          window.layer == ContractLayer::panel ? "_NET_WM_WINDOW_TYPE_DOCK" : "_NET_WM_WINDOW_TYPE_DESKTOP");
    if (window.alpha < 1)
      program.client().setNumbers(made, "_NET_WM_WINDOW_OPACITY", "CARDINAL",
                                  {static_cast<std::uint32_t>(window.alpha * 0xFFFFFFFF)});
    program.client().show(made);
    if (window.layer == ContractLayer::normal) activate(made);
    EXPECT_TRUE(waitUntil([&] {
      const auto placed = listed(made);
      return placed && placed->isMapped;
    }));
    return static_cast<int>(programs_.size() - 1);
  }
  std::int32_t process(int window) { return at(window).pid(); }
  void raise(int window) { activate(id(window)); }
  void minimize(int window) { setMinimized(id(window), true); }
  void restore(int window) { setMinimized(id(window), false); }
  void close(int window) { at(window).client().destroy(id(window)); }
  /// The windows' connection is the test's own, which answers nothing while it waits for the list.
  void setHanging(int window) { at(window).process().setStopped(true); }
  void stopServer() { session_.reset(); }
  bool moveToAnotherSpace(int window) {
    constexpr std::uint32_t asTaskList = 2;
    at(window).client().tellWindowManager(id(window), "_NET_WM_DESKTOP", {1, asTaskList, 0, 0, 0});
    return true;
  }

 private:
  [[nodiscard]] X11Program& at(int window) { return *programs_.at(static_cast<std::size_t>(window)); }
  [[nodiscard]] xcb_window_t id(int window) { return at(window).windows().front(); }

  linux_os::LinuxWindowList windowList_{desktop_};
  std::vector<std::unique_ptr<X11Program>> programs_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, WindowListContract, LinuxWindowListBackend);

}  // namespace
}  // namespace tallyfox::contract
