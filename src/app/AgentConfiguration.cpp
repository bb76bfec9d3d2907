#include "app/AgentConfiguration.hpp"

#include <array>
#include <initializer_list>

#include "app/PositiveNumber.hpp"
#include "base/Text.hpp"

namespace tallyfox {
namespace {

constexpr std::array prefixes = {"TALLYFOX_", "QUARRYSTONE_"};

/// The first valid value, name by name, the current prefix before the older one.
Seconds seconds(const AgentConfiguration& configuration, std::initializer_list<const char*> names, Seconds fallback) {
  for (const char* name : names) {
    for (const char* prefix : prefixes) {
      if (const auto value = configuration.positiveDoubleEnvironmentValue(std::string(prefix) + name)) {
        return Seconds(*value);
      }
    }
  }
  return fallback;
}

}  // namespace

std::optional<double> AgentConfiguration::positiveDoubleEnvironmentValue(const std::string& name) const {
  const auto text = environment_.value(name);
  return text ? positiveNumber(*text) : std::nullopt;
}

std::optional<bool> AgentConfiguration::booleanEnvironmentValue(const std::string& name) const {
  const auto text = environment_.value(name);
  if (!text) return std::nullopt;
  const std::string word = lowercased(*text);
  if (word == "1" || word == "true" || word == "yes") return true;
  if (word == "0" || word == "false" || word == "no") return false;
  return std::nullopt;
}

Seconds AgentConfiguration::safetySweepInterval() const {
  return seconds(*this, {"SAFETY_SWEEP_INTERVAL_SECONDS", "SCAN_INTERVAL_SECONDS"}, Seconds(300.0));
}

Seconds AgentConfiguration::eventScanDebounce() const {
  return seconds(*this, {"EVENT_SCAN_DEBOUNCE_SECONDS"}, Seconds(0.35));
}

Seconds AgentConfiguration::approvalStaleGrace() const {
  return seconds(*this, {"APPROVAL_STALE_GRACE_SECONDS"}, Seconds(8.0));
}

Seconds AgentConfiguration::visibleWindowOwnerPoll() const {
  return seconds(*this, {"VISIBLE_WINDOW_OWNER_POLL_SECONDS"}, Seconds(2.0));
}

bool AgentConfiguration::dialogDiagnostics() const {
  for (const char* prefix : prefixes) {
    if (const auto value = booleanEnvironmentValue(std::string(prefix) + "DIALOG_DIAGNOSTICS")) return *value;
  }
  return false;
}

}  // namespace tallyfox
