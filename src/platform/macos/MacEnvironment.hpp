#pragma once

#include "platform/Environment.hpp"

namespace tallyfox::mac_os {

/// The environment that the process was started with, whose variables nobody changes while the process runs, and the
/// system's time zone, which its owner may change. An application opened by its owner gets the login session's
/// variables, not those of a shell.
class MacEnvironment : public Environment {
 public:
  std::optional<std::string> value(const std::string& name) override;
  std::string timeZoneIdentifier() override;
};

}  // namespace tallyfox::mac_os
