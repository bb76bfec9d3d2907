#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "desktop/DesktopSession.hpp"
#include "scenes/Figures.hpp"

namespace tallyfox::bench {

/// A program on the private desktop whose output is read line by line.
class Program {
 public:
  /// With `input`, lines can be sent to it; else it reads nothing.
  Program(const testing::DesktopSession& session, const std::vector<std::string>& command, bool input = false,
          const std::vector<std::string>& moreEnvironment = {});
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] pid_t pid() const { return process_->pid(); }
  void send(const std::string& line) const;
  /// The next line; absent when the program said nothing in time.
  [[nodiscard]] std::optional<std::string> nextLine(Seconds atMost);
  /// The next line that holds `text`. Throws std::runtime_error when none comes.
  std::string await(const std::string& text, Seconds atMost);

 private:
  int input_ = -1;
  int output_ = -1;
  std::string read_;
  std::unique_ptr<testing::DesktopProcess> process_;
};

/// Another program that walks all windows when it is told to, and measures itself.
class Peer {
 public:
  struct Scan {
    std::size_t windows = 0;
    std::size_t elements = 0;
    Cost cost;
  };
  Peer(const testing::DesktopSession& session, const std::vector<std::string>& command)
      : program_(session, command, true) {}
  [[nodiscard]] Scan scan();

 private:
  Program program_;
};

}  // namespace tallyfox::bench
