#pragma once

#include <memory>

#include "app/AppDelegate.hpp"
#include "base/Queue.hpp"
#include "platform/Environment.hpp"
#include "ui/InterfaceActions.hpp"

namespace tallyfox {

/// What the status window and the menus ask of the agent. `agent` may be made after them and is there before any of
/// them is used; all referents outlive the actions. Main thread.
[[nodiscard]] InterfaceActions interfaceActionsOf(const std::unique_ptr<AppDelegate>& agent, Clock& clock,
                                                  Environment& environment);

}  // namespace tallyfox
