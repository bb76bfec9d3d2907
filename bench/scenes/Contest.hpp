#pragma once

#include <cstddef>
#include <set>
#include <string>

#include "desktop/BusMonitor.hpp"
#include "scenes/KnownPaths.hpp"
#include "scenes/Program.hpp"
#include "scenes/Scenes.hpp"

namespace tallyfox::bench {

/// The same desktop read by the detector, by the floors and by the other programs, in turns.
struct Contest {
  explicit Contest(QuestionDesktop& desktop);

  /// Throws std::runtime_error when a peer or a floor misses something that is there.
  void run(std::size_t rounds);
  void print(Report& report) const;

  QuestionDesktop& desktop;
  KnownPaths knownPaths;
  CostSamples unaccompanied;  ///< the detector before any other program walked
  CostSamples detector;
  CostSamples floor;
  CostSamples pings;
  CostSamples pyatspi;
  CostSamples libatspi;
  Samples visibleWindows;
  std::size_t scansThatMissed = 0;

 private:
  void scanInto(CostSamples& samples);
  void floorRound();
};

/// One scan with the accessibility bus monitored: slower than without, so that its times compare only among themselves.
struct MonitoredScan {
  testing::BusTraffic traffic;
  std::size_t questions = 0;
  double milliseconds = 0;
  /// From the first call to the last answer of any of these processes.
  [[nodiscard]] double millisecondsUntilAnswersOf(const std::set<std::string>& busNames) const;
  Seconds began{};
};
[[nodiscard]] MonitoredScan monitoredScan(testing::Scanner& scanner, testing::BusMonitor& monitor);
/// The bus names of the questions' programs.
[[nodiscard]] std::set<std::string> namesOfQuestions(const QuestionDesktop& desktop, testing::BusMonitor& monitor);

}  // namespace tallyfox::bench
