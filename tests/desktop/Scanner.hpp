#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "desktop/DesktopSession.hpp"
#include "detection/DialogDetector.hpp"
#include "detection/VisibleWindowOwners.hpp"
#include "platform/linux/LinuxAccessibility.hpp"
#include "platform/linux/LinuxApplications.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/LinuxWindowList.hpp"
#include "platform/linux/MainEventLoop.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11EventSource.hpp"
#include "platform/posix/StandardOutputConsole.hpp"

namespace tallyfox::testing {

/// The detector over a private desktop, as the agent composes it.
class Scanner {
 public:
  explicit Scanner(const DesktopSession& session)
      : desktop_(linux_os::X11Desktop::open(session.display()).value()),
        events_(session.display(), loop_, loop_),
        accessibility_(desktop_, console_, session.sessionBusAddress()) {}

  [[nodiscard]] std::vector<PendingApproval> scan() { return detector_.scan(); }
  /// What the poll of the visible windows asks.
  [[nodiscard]] std::size_t visibleWindows() const { return owners_.visibleWindowSignatures().size(); }

 private:
  posix_os::StandardOutputConsole console_;
  linux_os::LinuxClock clock_;
  linux_os::MainEventLoop loop_;
  std::shared_ptr<linux_os::X11Desktop> desktop_;
  linux_os::X11EventSource events_;
  linux_os::LinuxAccessibility accessibility_;
  linux_os::LinuxApplications applications_{{desktop_, events_, loop_, {}, nullptr}};
  linux_os::LinuxWindowList windowList_{desktop_};
  VisibleWindowOwners owners_{applications_, windowList_};
  DialogDetector detector_{{accessibility_, accessibility_, applications_, windowList_, clock_, console_,
                            [](const Uuid&) { return false; }, [] { return false; }}};
};

}  // namespace tallyfox::testing
