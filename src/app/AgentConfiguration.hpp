#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Date.hpp"
#include "platform/Environment.hpp"

namespace tallyfox {

/// Tuning values from the environment, read anew at every call. A TALLYFOX_ name wins over its QUARRYSTONE_ name; an
/// invalid value counts as unset. Any thread.
class AgentConfiguration {
 public:
  explicit AgentConfiguration(Environment& environment) : environment_(environment) {}

  [[nodiscard]] std::optional<double> positiveDoubleEnvironmentValue(const std::string& name) const;
  [[nodiscard]] std::optional<bool> booleanEnvironmentValue(const std::string& name) const;

  [[nodiscard]] Seconds safetySweepInterval() const;
  [[nodiscard]] Seconds eventScanDebounce() const;
  [[nodiscard]] Seconds approvalStaleGrace() const;
  [[nodiscard]] Seconds visibleWindowOwnerPoll() const;
  [[nodiscard]] bool dialogDiagnostics() const;

 private:
  Environment& environment_;
};

}  // namespace tallyfox
