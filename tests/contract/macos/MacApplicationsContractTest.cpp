// Shows that real programs in a real session are listed, asked to quit and told of as the seam promises.

#include <signal.h>

#include "contract/ApplicationsContract.hpp"
#include "contract/macos/MacContractDesktop.hpp"
#include "platform/macos/MacApplications.hpp"

namespace tallyfox::contract {
namespace {

/// No program may change the space, but one of its own in full screen makes one.
class MacApplicationsBackend : public MacContractDesktop {
 public:
  ~MacApplicationsBackend() { leaveSpace(); }

  Applications& applications() { return applications_; }
  std::int32_t launch(ContractProgram program = {}) {
    if (program == ContractProgram::background) return launchInBackground();
    StageProcess& stage = start(program == ContractProgram::regular ? StageKind::application : StageKind::bare);
    open(stage, {});
    settle(stage);
    return stage.pid();
  }
  void activate(std::int32_t pid) { bringForward(pid); }
  void hide(std::int32_t pid) { stage(pid).ask({"hide"}); }
  void unhide(std::int32_t pid) { stage(pid).ask({"unhide"}); }
  /// Also inside a task of the main queue, where nothing is told meanwhile.
  void switchSpace() {
    StageProcess& stage = start(StageKind::bare);
    open(stage, {.title = "Space"});
    stage.ask({"activate"});
    stage.ask({"enter-space", "0"});
    spaces_.push_back(stage.pid());
  }
  void setHanging(std::int32_t pid, bool hangs) { MacContractDesktop::setHanging(stage(pid), hangs); }
  bool isRunning(std::int32_t pid) {
    return pid == applications_.ownProcessIdentifier() ? ::kill(pid, 0) == 0 : stage(pid).isRunning();
  }

 private:
  std::int32_t launchInBackground() {
    const std::int32_t pid = start(StageKind::background).pid();
    EXPECT_TRUE(waitUntil([&] { return applications_.application(pid).has_value(); }));
    return pid;
  }
  /// So that the way back is told before the next test listens.
  void leaveSpace() {
    for (const std::int32_t pid : spaces_) {
      const std::size_t told = witness_.count(WorkspaceEventKind::activeSpaceChanged, 0);
      stage(pid).ask({"leave-space", "0"});
      EXPECT_TRUE(waitUntil([&] { return witness_.count(WorkspaceEventKind::activeSpaceChanged, 0) > told; }));
    }
  }

  mac_os::MacApplications applications_{mainQueue()};
  std::vector<std::int32_t> spaces_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, ApplicationsContract, MacApplicationsBackend);

}  // namespace
}  // namespace tallyfox::contract
