#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.hpp"

namespace tallyfox::testing {

/// A program started by a test. Ended and reaped by the destructor, also when it is stopped or hangs.
class DesktopProcess {
 public:
  DesktopProcess(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                 std::optional<int> standardOutput = std::nullopt, std::optional<int> standardInput = std::nullopt);
  ~DesktopProcess();
  DesktopProcess(const DesktopProcess&) = delete;
  DesktopProcess& operator=(const DesktopProcess&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  void signal(int number) const;
  /// Stops it, returning once it no longer runs, or lets it go on.
  void setStopped(bool isStopped) const;
  /// The exit status (128 + number for a signal); absent while it still runs when the time is up.
  [[nodiscard]] std::optional<int> waitForExit(Seconds atMost = Seconds(10));
  [[nodiscard]] bool isRunning() { return !waitForExit(Seconds(0)); }

 private:
  pid_t pid_ = -1;
  std::optional<int> exitStatus_;
};

/// A desktop of its own: X display of 1280 by 800, session bus, window manager and accessibility bus, with home and run
/// directories in a temporary folder. Nothing of the desktop that the test is started from is touched, and nothing
/// stays running. Throws std::runtime_error when a part does not come up.
class DesktopSession {
 public:
  struct Options {
    bool windowManager = true;
    bool accessibility = true;  ///< org.a11y.Status.IsEnabled
  };
  DesktopSession();
  explicit DesktopSession(Options options);
  ~DesktopSession();
  DesktopSession(const DesktopSession&) = delete;
  DesktopSession& operator=(const DesktopSession&) = delete;

  /// ":7"
  [[nodiscard]] const std::string& display() const { return display_; }
  [[nodiscard]] const std::string& sessionBusAddress() const { return busAddress_; }
  [[nodiscard]] const std::filesystem::path& directory() const { return directory_; }
  [[nodiscard]] const std::vector<std::string>& environment() const { return environment_; }

  [[nodiscard]] std::unique_ptr<DesktopProcess> start(const std::vector<std::string>& command,
                                                      const std::vector<std::string>& moreEnvironment = {}) const;
  /// What the command printed on standard output, once it ended or the time was up.
  [[nodiscard]] std::string outputOf(const std::vector<std::string>& command, Seconds atMost = Seconds(10)) const;
  void setAccessibilityEnabled(bool enabled) const;
  /// Ends the session bus, and with it the accessibility bus.
  void stopBuses();
  /// Starts the session bus again at the same address.
  void startSessionBus();

  /// Asks again and again until the condition holds; its last answer.
  [[nodiscard]] static bool waitUntil(const std::function<bool()>& condition, Seconds atMost = Seconds(10));

 private:
  void makeDirectory();
  void startDisplay();
  void startWindowManager();
  void endStrayProcesses() const;

  std::filesystem::path directory_;
  std::string display_;
  std::string busAddress_;
  std::vector<std::string> environment_;
  std::unique_ptr<DesktopProcess> server_;
  std::unique_ptr<DesktopProcess> bus_;
  std::unique_ptr<DesktopProcess> windowManager_;
};

}  // namespace tallyfox::testing
