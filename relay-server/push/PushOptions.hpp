#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "push/PushServices.hpp"

namespace tallyfox::server {

/// What the operator says of Web Push.
struct PushOptions {
  std::filesystem::path key;                      ///< PEM, as VapidKey::create makes it
  std::string contact;                            ///< where push services find a person: a mailto: or https: address
  std::vector<PushServices::Service> services{};  ///< in place of the browsers', unless empty
  std::filesystem::path authorities{};            ///< PEM of those that vouch for the services; empty for the system's
  bool operator==(const PushOptions&) const = default;

  /// Whether push services can be told this address.
  [[nodiscard]] static bool isContact(std::string_view text);
};

}  // namespace tallyfox::server
