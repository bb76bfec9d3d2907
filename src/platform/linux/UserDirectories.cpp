#include "platform/linux/UserDirectories.hpp"

#include <pwd.h>
#include <unistd.h>

#include <optional>
#include <sstream>
#include <vector>

namespace tallyfox::linux_os {
namespace {

std::string accountHome() {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return "/";
  return found->pw_dir;
}

std::optional<std::string> absolutePath(Environment& environment, const std::string& name) {
  auto path = environment.value(name);
  if (!path || !path->starts_with('/')) return std::nullopt;
  while (path->size() > 1 && path->ends_with('/'))
    path->pop_back();
  return path;
}

std::vector<std::filesystem::path> systemDataDirectories(Environment& environment) {
  std::vector<std::filesystem::path> directories;
  std::istringstream list(environment.value("XDG_DATA_DIRS").value_or(""));
  for (std::string entry; std::getline(list, entry, ':');)
    if (entry.starts_with('/')) directories.emplace_back(entry);
  if (directories.empty()) directories = {"/usr/local/share", "/usr/share"};
  return directories;
}

}  // namespace

UserDirectories UserDirectories::from(Environment& environment) {
  UserDirectories result;
  const auto home = absolutePath(environment, "HOME");
  result.home = home ? *home : accountHome();
  result.configHome = absolutePath(environment, "XDG_CONFIG_HOME").value_or(result.home + "/.config");
  result.dataHome = absolutePath(environment, "XDG_DATA_HOME").value_or(result.home + "/.local/share");
  result.temporary = absolutePath(environment, "TMPDIR").value_or("/tmp");
  result.runtime = absolutePath(environment, "XDG_RUNTIME_DIR");
  result.dataDirectories = systemDataDirectories(environment);
  result.dataDirectories.insert(result.dataDirectories.begin(), result.dataHome);
  return result;
}

}  // namespace tallyfox::linux_os
