#include "platform/linux/ProcessEnvironment.hpp"

#include <cstdlib>

#include "platform/linux/SystemTimeZone.hpp"

namespace tallyfox::linux_os {

std::optional<std::string> ProcessEnvironment::value(const std::string& name) {
  const char* text = std::getenv(name.c_str());
  if (text == nullptr) return std::nullopt;
  return text;
}

std::string ProcessEnvironment::timeZoneIdentifier() {
  return systemTimeZoneIdentifier(value("TZ"), configuration_);
}

}  // namespace tallyfox::linux_os
