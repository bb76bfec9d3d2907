#pragma once

#include <filesystem>
#include <utility>

#include "platform/Environment.hpp"

namespace tallyfox::linux_os {

/// The environment that the process was started with, whose variables nobody changes while the process runs, and the
/// system's time zone, which its owner may change.
class ProcessEnvironment : public Environment {
 public:
  explicit ProcessEnvironment(std::filesystem::path configuration = "/etc")
      : configuration_(std::move(configuration)) {}
  std::optional<std::string> value(const std::string& name) override;
  std::string timeZoneIdentifier() override;

 private:
  std::filesystem::path configuration_;
};

}  // namespace tallyfox::linux_os
