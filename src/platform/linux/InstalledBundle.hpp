#pragma once

#include <filesystem>
#include <string>

#include "platform/ApplicationBundle.hpp"

namespace tallyfox::linux_os {

/// The agent as a file tree. It counts as installed when the executable is PREFIX/bin/tallyfox and our desktop entry
/// lies in PREFIX/share/applications; its resources are then in PREFIX/share/tallyfox. A bare build has no identifier
/// and finds resources beside the executable.
class InstalledBundle : public ApplicationBundle {
 public:
  /// `executable` may lead through symbolic links; `home` is the user's home folder.
  InstalledBundle(const std::string& executable, const std::string& home);
  /// The file that this process runs.
  [[nodiscard]] static std::string runningExecutable();

  std::optional<std::string> bundleIdentifier() override;
  bool isApplicationBundle() override { return isInstalled_; }
  /// A desktop entry says nothing of the kind.
  std::optional<std::string> informationValue(const std::string& /*key*/) override { return std::nullopt; }
  /// The folder of the application's own files.
  [[nodiscard]] const std::filesystem::path& resources() const { return resources_; }
  /// The executable.
  std::string path() override;
  /// /usr, /opt and ~/.local.
  std::vector<std::string> applicationDirectories() override;
  std::optional<std::expected<std::map<std::string, std::string>, std::string>> propertyList(
      const std::string& name) override;

 private:
  std::filesystem::path executable_;
  std::filesystem::path localPrefix_;
  std::filesystem::path resources_;
  bool isInstalled_ = false;
};

}  // namespace tallyfox::linux_os
