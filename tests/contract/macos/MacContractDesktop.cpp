#include "contract/macos/MacContractDesktop.hpp"

#include <fmt/format.h>

namespace tallyfox::contract {

MacContractDesktop::~MacContractDesktop() {
  for (const auto& entry : stages_)
    quit(entry.first);
}

StageProcess& MacContractDesktop::start(StageKind kind) {
  auto started = std::make_unique<StageProcess>(kind);
  StageProcess& stage = *started;
  stages_[stage.pid()] = std::move(started);
  return stage;
}

void MacContractDesktop::open(StageProcess& stage, const Window& window) {
  stage.ask({"open", window.title, fmt::format("{}", window.frame.x), fmt::format("{}", window.frame.y),
             fmt::format("{}", window.frame.width), fmt::format("{}", window.frame.height),
             fmt::format("{}", window.level), fmt::format("{}", window.alpha)});
}

void MacContractDesktop::settle(StageProcess& stage) {
  constexpr int roundsBetweenRequests = 100;
  int round = 0;
  // The workspace promises to tell of applications in bundles.
  const auto wasTold = [&] {
    return stage.kind() != StageKind::application || witness_.count(WorkspaceEventKind::launched, stage.pid()) > 0;
  };
  EXPECT_TRUE(waitUntil([&] {
    if (round++ % roundsBetweenRequests == 0) {
      stage.ask({"activate"});
      WorkspaceWitness::bringToFront(stage.pid());
    }
    return WorkspaceWitness::frontmost() == stage.pid() && witness_.isAtRest() && wasTold() &&
           stage.ask({"has-focus"}) == std::vector<std::string>{"yes"};
  })) << "the system did not give the stage the focus";
}

void MacContractDesktop::bringForward(std::int32_t pid) {
  settle(stage(pid));
}

void MacContractDesktop::quit(std::int32_t pid) {
  const bool wasTold = witness_.count(WorkspaceEventKind::launched, pid) > 0;
  stage(pid).kill();
  if (wasTold) settleWithout(pid);
}

void MacContractDesktop::settleWithout(std::int32_t pid) {
  EXPECT_TRUE(waitUntil([&] {
    return witness_.count(WorkspaceEventKind::terminated, pid) > 0 && WorkspaceWitness::frontmost() != pid &&
           witness_.isAtRest();
  }));
}

}  // namespace tallyfox::contract
