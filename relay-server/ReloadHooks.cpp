#include "ReloadHooks.hpp"

#include <utility>

namespace tallyfox::server {

std::expected<void, SettingsError> ReloadHooks::run(const RelayOptions& options) const {
  std::vector<Apply> prepared;
  for (const Prepare& prepare : parts_) {
    auto apply = prepare(options);
    if (!apply) return std::unexpected(std::move(apply.error()));
    prepared.push_back(std::move(*apply));
  }
  for (const Apply& apply : prepared)
    apply();
  return {};
}

}  // namespace tallyfox::server
