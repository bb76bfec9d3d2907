#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/AgentWorld.hpp"
#include "app/AppDelegate.hpp"
#include "app/TestPhone.hpp"

namespace tallyfox::sim {

/// The whole agent in its world, with a phone at the far end.
struct Agent {
  /// Starts the agent; the relay accepts its token and its socket.
  void start() {
    world.network.answerAll(HttpResponse{204});
    delegate->applicationDidFinishLaunching();
    world.time.runDue();
    world.network.open(phone.socket());
    world.time.advance(Seconds(3));
  }
  memory::ElementID openDialog(std::int32_t application, const std::string& title, const std::string& line,
                               const std::vector<std::string>& buttons) {
    return world.desktop.openWindow(application, memory::messageBox(title, {line}, buttons));
  }
  /// Long enough for an event, its follow-ups and a decision of the slowest kind.
  void settle() { world.time.advance(Seconds(12)); }

  AgentWorld world;
  TestPhone phone{world};
  std::unique_ptr<AppDelegate> delegate = std::make_unique<AppDelegate>(world.platform(), world.interface);
};

}  // namespace tallyfox::sim
