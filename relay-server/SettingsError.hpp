#pragma once

#include <string>

namespace tallyfox::server {

/// Why settings cannot be used; one line for the operator. Names options and files and quotes no secret.
struct SettingsError {
  std::string description;
  bool operator==(const SettingsError&) const = default;
};

}  // namespace tallyfox::server
