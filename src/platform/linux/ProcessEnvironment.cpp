#include "platform/linux/ProcessEnvironment.hpp"

#include <cstdlib>

namespace tallyfox::linux_os {

std::optional<std::string> ProcessEnvironment::value(const std::string& name) {
  const char* text = std::getenv(name.c_str());
  if (text == nullptr) return std::nullopt;
  return text;
}

}  // namespace tallyfox::linux_os
