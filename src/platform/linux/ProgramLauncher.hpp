#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfox::linux_os {

/// Starts other programs for the owner: each lives on its own, also after this process, and gets nothing of it but the
/// environment: no open file, no blocked or ignored signal, no terminal.
class ProgramLauncher {
 public:
  /// `searchPath` is written as $PATH is; its entries that are no absolute paths do not count.
  explicit ProgramLauncher(std::string_view searchPath);

  /// The first program of this name along the path.
  [[nodiscard]] std::optional<std::string> pathOf(const std::string& name) const;
  /// Starts the program that the first word names, with the others as its arguments, and does not wait for it. False
  /// when there is no such program or it cannot be started.
  bool start(const std::vector<std::string>& command) const;

 private:
  std::vector<std::string> folders_;
};

}  // namespace tallyfox::linux_os
