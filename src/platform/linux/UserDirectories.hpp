#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/Environment.hpp"

namespace tallyfox::linux_os {

/// Where this user's files lie, by the XDG base directory rules: a variable that holds no absolute path counts as
/// unset. Absolute paths without a trailing "/"; nothing is created.
struct UserDirectories {
  std::string home;        ///< $HOME, else the account's own
  std::string configHome;  ///< $XDG_CONFIG_HOME, else ~/.config
  std::string dataHome;    ///< $XDG_DATA_HOME, else ~/.local/share
  std::string temporary;   ///< $TMPDIR, else /tmp
  /// $XDG_RUNTIME_DIR: this user's alone, gone at logout.
  std::optional<std::string> runtime;
  /// Where installed applications describe themselves, the most important first: dataHome, then $XDG_DATA_DIRS, else
  /// /usr/local/share and /usr/share.
  std::vector<std::filesystem::path> dataDirectories;

  [[nodiscard]] static UserDirectories from(Environment& environment);
  bool operator==(const UserDirectories&) const = default;
};

}  // namespace tallyfox::linux_os
