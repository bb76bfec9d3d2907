#include <fmt/format.h>
#include <unistd.h>

#include <map>
#include <stdexcept>
#include <string>

#include "scenes/Contest.hpp"
#include "scenes/Scenes.hpp"

namespace tallyfox::bench {
namespace {

void printCalls(const Report& report, const testing::BusTraffic& traffic) {
  report.note(fmt::format("a scan: {} calls", traffic.calls.size()));
  for (const auto& [member, calls] : traffic.callsByMember())
    report.note(fmt::format("  {:<32} {:>6}", member, calls));
}

/// What one of the dialogs was asked, round by round.
void printRounds(const Report& report, const testing::BusTraffic& traffic, const std::string& peer) {
  std::map<std::size_t, std::map<std::string, std::size_t>> rounds;
  for (const auto& call : traffic.calls) {
    if (call.peer == peer) ++rounds[call.round][call.member];
  }
  report.note("one dialog's rounds:");
  for (const auto& [round, members] : rounds) {
    std::string line = fmt::format("  {:>3}:", round);
    for (const auto& [member, calls] : members)
      line += fmt::format(" {} x {}", calls, member);
    report.note(line);
  }
}

Samples roundsOfQuestions(const testing::BusTraffic& traffic, const std::set<std::string>& questions) {
  Samples rounds;
  for (const auto& [peer, count] : traffic.roundsByPeer()) {
    if (questions.contains(peer)) rounds.add(static_cast<double>(count));
  }
  return rounds;
}

void countCalls(QuestionDesktop& desktop, const std::string& address, Report& report) {
  constexpr auto questions = static_cast<double>(QuestionDesktop::questions);
  testing::BusMonitor monitor(address);
  testing::BusMonitor sessionMonitor(desktop.session.sessionBusAddress());
  const std::set<std::string> sessionNames = sessionMonitor.namesOf(getpid());
  (void)sessionMonitor.take();
  const MonitoredScan known = monitoredScan(desktop.scanner, monitor);
  if (known.questions != QuestionDesktop::questions) throw std::runtime_error("a monitored scan missed a question");
  const auto sessionTraffic = testing::BusTraffic::of(sessionMonitor.take(), sessionNames);

  // A scanner that knows none of the programs yet, with a connection of its own.
  testing::Scanner fresh(desktop.session);
  (void)fresh.visibleWindows();
  const std::set<std::string> before = monitor.namesOf(getpid());
  (void)monitor.take();
  (void)fresh.scan();
  std::set<std::string> after = monitor.namesOf(getpid());
  for (const std::string& name : before)
    after.erase(name);
  const auto first = testing::BusTraffic::of(monitor.take(), after);

  const std::set<std::string> names = namesOfQuestions(desktop, monitor);
  printCalls(report, known.traffic);
  printRounds(report, known.traffic, *names.begin());
  report.figure("on the session bus", static_cast<double>(sessionTraffic.calls.size()), "calls");
  report.atMost("calls a dialog", static_cast<double>(known.traffic.calls.size()) / questions, 40);
  const Samples rounds = roundsOfQuestions(known.traffic, names);
  report.atMost("dependent rounds a dialog", rounds.median(), 4);
  report.figure("of the dialog with the most", rounds.most(), "rounds");
  report.figure("first scan of a new scanner, calls a dialog", static_cast<double>(first.calls.size()) / questions, "");
  report.figure("first scan of a new scanner, dependent rounds", roundsOfQuestions(first, names).median(), "");
}

}  // namespace

void measureDialogs(const Options& options, Report& report) {
  report.heading("Scene A: 20 question dialogs");
  QuestionDesktop desktop;
  Contest contest(desktop);
  contest.run(options.rounds);
  contest.print(report);
  report.times("the windows of the screen (X server), as the poll asks", contest.visibleWindows);
  report.atLeast("pyatspi / scan", contest.pyatspi.milliseconds.median() / contest.detector.milliseconds.median(), 6);
  report.atLeast("libatspi / scan", contest.libatspi.milliseconds.median() / contest.detector.milliseconds.median(), 4);
  report.atLeast("processor: pyatspi / scan",
                 contest.pyatspi.processorMilliseconds.median() / contest.detector.processorMilliseconds.median(), 12);
  report.atMost("scan / known paths", contest.detector.milliseconds.median() / contest.floor.milliseconds.median(),
                1.25);
  report.atMost("poll of the windows / ping", contest.visibleWindows.median() / contest.pings.milliseconds.median(),
                0.5);
  countCalls(desktop, contest.knownPaths.accessibilityBusAddress(), report);
}

}  // namespace tallyfox::bench
