#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "contract/macos/HostedMainQueue.hpp"
#include "contract/macos/RealTime.hpp"
#include "contract/macos/StageProcess.hpp"
#include "contract/macos/WorkspaceWitness.hpp"
#include "model/DialogFrame.hpp"

namespace tallyfox::contract {

/// The session that the tests run in, with programs on its stage as the contracts' backends need them.
class MacContractDesktop : public RealTime {
 public:
  MacContractDesktop() = default;
  ~MacContractDesktop();
  MacContractDesktop(const MacContractDesktop&) = delete;
  MacContractDesktop& operator=(const MacContractDesktop&) = delete;

  SerialQueue& mainQueue() { return mainQueue_; }
  void onMain(const std::function<void()>& work) { mainQueue_.sync(work); }
  void quit(std::int32_t pid);

 protected:
  struct Window {
    std::string title = "First";
    DialogFrame frame = {400, 300, 420, 180};
    int level = 0;
    double alpha = 1;
  };

  StageProcess& start(StageKind kind = StageKind::application);
  StageProcess& stage(std::int32_t pid) { return *stages_.at(pid); }
  void open(StageProcess& stage, const Window& window);
  /// Waits until a window of it has the focus and that was told, and asks for that as long as it takes.
  void settle(StageProcess& stage);
  /// As settle, of a program that runs already.
  void bringForward(std::int32_t pid);
  void setHanging(StageProcess& stage, bool hangs) { stage.ask({hangs ? "hang" : "wake"}); }

  WorkspaceWitness witness_;
  HostedMainQueue mainQueue_;

 private:
  /// Waits until an end was told, and what came to the front then.
  void settleWithout(std::int32_t pid);

  std::map<std::int32_t, std::unique_ptr<StageProcess>> stages_;
};

}  // namespace tallyfox::contract
