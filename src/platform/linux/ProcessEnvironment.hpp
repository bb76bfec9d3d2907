#pragma once

#include "platform/Environment.hpp"

namespace tallyfox::linux_os {

/// The environment that the process was started with; nobody changes it while the process runs.
class ProcessEnvironment : public Environment {
 public:
  std::optional<std::string> value(const std::string& name) override;
};

}  // namespace tallyfox::linux_os
