#pragma once

#include "platform/ApplicationBundle.hpp"

namespace tallyfox::mac_os {

/// The bundle that the process runs from. For a bare executable that is the folder around it, where resources are then
/// looked for too.
class MainBundle : public ApplicationBundle {
 public:
  std::optional<std::string> bundleIdentifier() override;
  bool isApplicationBundle() override;
  std::optional<std::string> informationValue(const std::string& key) override;
  std::string path() override;
  /// /Applications and the one in the user's home.
  std::vector<std::string> applicationDirectories() override;
  std::optional<std::expected<std::map<std::string, std::string>, std::string>> propertyList(
      const std::string& name) override;
};

}  // namespace tallyfox::mac_os
