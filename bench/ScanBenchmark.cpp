// A full scan of real zenity dialogs on a private desktop: with the announced, pipelined reading, and with the same
// detector over a seam that ignores the announcements, so that every attribute is a message of its own.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "desktop/DesktopSession.hpp"
#include "detection/DialogDetector.hpp"
#include "platform/linux/LinuxAccessibility.hpp"
#include "platform/linux/LinuxApplications.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/LinuxWindowList.hpp"
#include "platform/linux/MainEventLoop.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11EventSource.hpp"
#include "platform/posix/StandardOutputConsole.hpp"

namespace tallyfox {
namespace {

/// Forwards everything but the announcements.
class Unannounced : public Accessibility {
 public:
  explicit Unannounced(Accessibility& inner) : inner_(inner) {}
  bool isProcessTrusted() override { return inner_.isProcessTrusted(); }
  AXUIElement applicationElement(std::int32_t pid) override { return inner_.applicationElement(pid); }
  AXUIElement systemWideElement() override { return inner_.systemWideElement(); }
  std::expected<AXUIElement, AXError> elementAtPosition(AXPoint point) override {
    return inner_.elementAtPosition(point);
  }
  std::unique_ptr<AXReadScope> willRead(const AXReadPlan& /*plan*/) override { return std::make_unique<AXReadScope>(); }

 private:
  Accessibility& inner_;
};

/// A private desktop with some dialogs and a detector over it.
class Scene {
 public:
  explicit Scene(int dialogs) {
    for (int number = 0; number < dialogs; ++number)
      dialogs_.push_back(session_.start({"zenity", "--question", "--title", "Question " + std::to_string(number),
                                         "--text", "Delete file " + std::to_string(number) + "?"}));
    const auto count = static_cast<std::size_t>(dialogs);
    everyDialogSeen_ = testing::DesktopSession::waitUntil([&] { return detector().scan().size() == count; });
  }

  [[nodiscard]] bool everyDialogSeen() const { return everyDialogSeen_; }
  [[nodiscard]] DialogDetector& detector() { return announced_; }
  [[nodiscard]] DialogDetector& unannouncedDetector() { return unannounced_; }

 private:
  [[nodiscard]] DialogDetector::Dependencies dependencies(Accessibility& accessibility) {
    return {accessibility,
            accessibility_,
            applications_,
            windowList_,
            clock_,
            console_,
            [](const Uuid&) { return false; },
            [] { return false; }};
  }

  testing::DesktopSession session_;
  posix_os::StandardOutputConsole console_;
  linux_os::LinuxClock clock_;
  linux_os::MainEventLoop loop_;
  std::shared_ptr<linux_os::X11Desktop> desktop_ = linux_os::X11Desktop::open(session_.display()).value();
  linux_os::X11EventSource events_{session_.display(), loop_, loop_};
  linux_os::LinuxAccessibility accessibility_{desktop_, console_, session_.sessionBusAddress()};
  Unannounced ignoring_{accessibility_};
  linux_os::LinuxApplications applications_{{desktop_, events_, loop_, {}, nullptr}};
  linux_os::LinuxWindowList windowList_{desktop_};
  DialogDetector announced_{dependencies(accessibility_)};
  DialogDetector unannounced_{dependencies(ignoring_)};
  std::vector<std::unique_ptr<testing::DesktopProcess>> dialogs_;
  bool everyDialogSeen_ = false;
};

void scan(benchmark::State& state, bool announced) {
  Scene scene(static_cast<int>(state.range(0)));
  if (!scene.everyDialogSeen()) return state.SkipWithError("not every dialog was seen");
  DialogDetector& detector = announced ? scene.detector() : scene.unannouncedDetector();
  for (auto _ : state)
    benchmark::DoNotOptimize(detector.scan());
}

void announcedScan(benchmark::State& state) {
  scan(state, true);
}
void unannouncedScan(benchmark::State& state) {
  scan(state, false);
}

BENCHMARK(announcedScan)->Arg(1)->Arg(20)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(unannouncedScan)->Arg(1)->Arg(20)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tallyfox

BENCHMARK_MAIN();
