// Shows that real programs on a real desktop are listed, asked to quit and told of as the seam promises.

#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "contract/ApplicationsContract.hpp"
#include "desktop/X11ContractDesktop.hpp"
#include "desktop/X11Program.hpp"
#include "platform/linux/LinuxApplications.hpp"

namespace tallyfox::contract {
namespace {

using tallyfox::testing::DesktopProcess;
using tallyfox::testing::X11Program;
using tallyfox::testing::X11TestClient;

/// An application is hidden when its windows are minimised; a space is a desktop of the window manager.
class LinuxApplicationsBackend : public tallyfox::testing::X11EventfulDesktop {
 public:
  LinuxApplicationsBackend() {
    const auto folder = session_->directory() / "data/applications";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "org.example.contract.desktop") << "[Desktop Entry]\nStartupWMClass=contract-listed\n";
    loop_.sync([this] {
      applications_ = std::make_unique<linux_os::LinuxApplications>(
          linux_os::LinuxApplications::Dependencies{.desktop = desktop_,
                                                    .events = *source_,
                                                    .watcher = loop_,
                                                    .dataDirectories = {session_->directory() / "data"},
                                                    .accessiblePrograms = {}});
    });
  }
  ~LinuxApplicationsBackend() {
    loop_.sync([this] { applications_.reset(); });
  }

  Applications& applications() { return *applications_; }
  std::int32_t launch(ContractProgram program = {}) {
    if (program == ContractProgram::regular) return launchDialog();
    auto started = std::make_unique<X11Program>(*session_);
    const std::int32_t pid = started->pid();
    const xcb_window_t window = started->create({.title = "Window"});
    const bool isBackground = program == ContractProgram::background;
    if (isBackground) started->client().setAtom(window, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DOCK");
    started->client().show(window);
    programs_[pid] = std::move(started);
    if (!isBackground) settle(pid);
    EXPECT_TRUE(waitUntil([&] { return windowOf(pid).has_value(); }));
    return pid;
  }
  void activate(std::int32_t pid) { X11EventfulDesktop::activate(windows_.at(pid)); }
  void hide(std::int32_t pid) { setMinimized(windows_.at(pid), true); }
  void unhide(std::int32_t pid) { setMinimized(windows_.at(pid), false); }
  void switchSpace() { client_.tellWindowManager(client_.root(), "_NET_CURRENT_DESKTOP", {1, 0, 0, 0, 0}); }
  void setHanging(std::int32_t pid, bool hangs) { dialogs_.at(pid)->setStopped(hangs); }
  void quit(std::int32_t pid) { dialogs_.at(pid).reset(); }
  bool isRunning(std::int32_t pid) {
    const auto dialog = dialogs_.find(pid);
    if (dialog == dialogs_.end()) return ::kill(pid, 0) == 0;
    return dialog->second && dialog->second->isRunning();
  }

 private:
  std::int32_t launchDialog() {
    auto dialog = session_->start({"zenity", "--question", "--class=Contract", "--name=contract-listed",
                                   "--title=Contract", "--text=Proceed with the contract?"},
                                  X11TestClient::withoutAccessibility);
    const std::int32_t pid = dialog->pid();
    dialogs_[pid] = std::move(dialog);
    settle(pid);
    windows_[pid] = windowOf(pid).value_or(linux_os::XWindow{}).id;
    return pid;
  }

  X11TestClient client_{session_->display()};
  std::unique_ptr<linux_os::LinuxApplications> applications_;
  std::map<std::int32_t, std::unique_ptr<DesktopProcess>> dialogs_;
  std::map<std::int32_t, linux_os::XWindowID> windows_;  ///< of the dialogs
  std::map<std::int32_t, std::unique_ptr<X11Program>> programs_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, ApplicationsContract, LinuxApplicationsBackend);

}  // namespace
}  // namespace tallyfox::contract
