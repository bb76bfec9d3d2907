#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "app/AppDelegate.hpp"
#include "base/Queue.hpp"
#include "model/ControlAnswer.hpp"
#include "model/ControlRequest.hpp"
#include "platform/Environment.hpp"

namespace tallyfox {

/// Carries out what the owner asks of the running agent from outside. Main thread.
class AgentControl {
 public:
  struct Dependencies {
    AppDelegate& agent;
    SerialQueue& mainQueue;
    Clock& clock;
    Environment& environment;
    std::string version;  ///< of this agent, told with its status
  };
  explicit AgentControl(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

  /// Takes one line of a request and gives the line of its answer, at most limits::controlAnswerBytes long, both
  /// without the line break. Any text is answered. A quit takes place after the present task, so that its answer can
  /// still be sent; the agent outlives its main queue's tasks.
  [[nodiscard]] std::string answer(std::string_view requestLine);

 private:
  [[nodiscard]] ControlAnswer carriedOut(const ControlRequest& request);
  [[nodiscard]] ControlAnswer status();
  [[nodiscard]] ControlAnswer alerts();

  Dependencies dependencies_;
};

}  // namespace tallyfox
