#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "desktop/DesktopSession.hpp"
#include "scenes/Program.hpp"

namespace tallyfox::bench {

/// The agent as a user would have it on that desktop: installed below HOME and connected to a relay of its own, with no
/// phone paired.
class InstalledAgent {
 public:
  explicit InstalledAgent(const testing::DesktopSession& session);

  [[nodiscard]] pid_t pid() const { return agent_->pid(); }
  /// User and system time of all its threads so far.
  [[nodiscard]] double processorMilliseconds() const;
  /// How often each of its threads began to wait so far: what it waited for woke it as often.
  [[nodiscard]] std::map<std::string, std::uint64_t> waits() const;

 private:
  std::unique_ptr<Program> relay_;
  std::unique_ptr<Program> agent_;
};

}  // namespace tallyfox::bench
