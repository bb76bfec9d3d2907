#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/Date.hpp"
#include "desktop/DesktopSession.hpp"
#include "desktop/Scanner.hpp"
#include "scenes/Figures.hpp"

namespace tallyfox::bench {

struct Options {
  std::size_t rounds = 40;
  Seconds idleTime{60};
};

/// A private desktop with small question dialogs on it.
struct QuestionDesktop {
  static constexpr std::size_t questions = 20;

  QuestionDesktop();
  /// Starts a program that stays as long as the desktop.
  testing::DesktopProcess& start(const std::vector<std::string>& command,
                                 const std::vector<std::string>& moreEnvironment = {});
  /// How many of the questions are among what a scan found.
  [[nodiscard]] static std::size_t questionsIn(const std::vector<PendingApproval>& approvals);

  testing::DesktopSession session;
  std::vector<std::unique_ptr<testing::DesktopProcess>> programs;  ///< the questions first
  testing::Scanner scanner{session};
};

/// Twenty small dialogs: a scan against the floors and against other programs that walk.
void measureDialogs(const Options& options, Report& report);
/// The same beside a file chooser of 3,000 files, a word processor and a tree of 5,000 rows; then with one program of
/// all stopped.
void measureLargeWindows(const Options& options, Report& report);
/// The installed agent while programs work and nothing is asked.
void measureIdleAgent(const Options& options, Report& report);

}  // namespace tallyfox::bench
