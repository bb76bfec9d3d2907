#pragma once

#include <string>

namespace tallyfox::contract {

/// Tells every program of the session, as the system does when the owner gives or takes a permission. Any thread.
void postDistributedNotification(const std::string& name);

}  // namespace tallyfox::contract
