#include "platform/linux/InstalledBundle.hpp"

#include "base/Limits.hpp"
#include "platform/linux/PrivateFiles.hpp"
#include "platform/linux/PropertyListFile.hpp"
#include "platform/posix/PlainFileName.hpp"

namespace tallyfox::linux_os {
namespace {

namespace fs = std::filesystem;
constexpr const char* identifier = "com.tallyfox.agent";

/// As far as the path exists with links resolved; unresolvable paths stay as they are.
fs::path resolved(const fs::path& path) {
  std::error_code error;
  auto result = fs::weakly_canonical(path, error);
  return error ? path : result;
}

}  // namespace

InstalledBundle::InstalledBundle(const std::string& executable, const std::string& home)
    : executable_(resolved(executable)), localPrefix_(resolved(fs::path(home) / ".local")) {
  const fs::path folder = executable_.parent_path();
  const fs::path share = folder.parent_path() / "share";
  std::error_code error;
  isInstalled_ = executable_.filename() == "tallyfox" && folder.filename() == "bin" &&
                 fs::is_regular_file(share / "applications" / (std::string(identifier) + ".desktop"), error);
  resources_ = isInstalled_ ? share / "tallyfox" : folder;
}

std::string InstalledBundle::runningExecutable() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).string();
}

std::optional<std::string> InstalledBundle::bundleIdentifier() {
  if (!isInstalled_) return std::nullopt;
  return identifier;
}

std::string InstalledBundle::path() {
  return executable_.string();
}

std::vector<std::string> InstalledBundle::applicationDirectories() {
  return {"/usr", "/opt", localPrefix_.string()};
}

std::optional<std::expected<std::map<std::string, std::string>, std::string>> InstalledBundle::propertyList(
    const std::string& name) {
  if (!posix_os::isPlainFileName(name)) return std::nullopt;
  const auto folder = PrivateDirectory::open(resources_.string(), false);
  const auto content =
      folder ? folder->read(name + ".plist", limits::storedFileBytes, false) : std::unexpected(folder.error());
  if (content) return decodedPropertyList(*content);
  if (content.error().isMissing()) return std::nullopt;
  return std::unexpected(content.error().description());
}

}  // namespace tallyfox::linux_os
