#include "scenes/Contest.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace tallyfox::bench {
namespace {

Seconds steadyNow() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace

Contest::Contest(QuestionDesktop& onDesktop) : desktop(onDesktop), knownPaths(onDesktop.session.sessionBusAddress()) {
  knownPaths.collect();
}

/// On a busy machine a program may not answer in its time. Such a scan is no measurement of a whole one.
void Contest::scanInto(CostSamples& samples) {
  std::size_t found = 0;
  const Cost cost = costOf([&] { found = QuestionDesktop::questionsIn(desktop.scanner.scan()); });
  if (found == QuestionDesktop::questions) {
    samples.add(cost);
  } else {
    ++scansThatMissed;
  }
}

void Contest::floorRound() {
  std::size_t values = 0;
  floor.add(costOf([&] { values = knownPaths.readAll(); }));
  if (values < 4 * knownPaths.elements()) throw std::runtime_error("the known paths lead nowhere");
  pings.add(costOf([&] { values = knownPaths.pingAll(); }));
  if (values < QuestionDesktop::questions) throw std::runtime_error("a program did not answer its ping");
  visibleWindows.add(costOf([&] { values = desktop.scanner.visibleWindows(); }).milliseconds);
  if (values < QuestionDesktop::questions) throw std::runtime_error("a window was not seen");
}

void Contest::run(std::size_t rounds) {
  for (std::size_t round = 0; round < rounds; ++round)
    scanInto(unaccompanied);

  Peer python(desktop.session, {"python3", "-B", TALLYFOX_PEERS "/walk.py"});
  Peer c(desktop.session, {TALLYFOX_WALK_LIBATSPI});
  // The first walk of each learns what later ones need not ask again.
  for (Peer* peer : {&python, &c}) {
    for (int time = 0; time < 2; ++time) {
      const Peer::Scan scan = peer->scan();
      if (scan.elements < knownPaths.elements())
        throw std::runtime_error(fmt::format("a peer walked {} elements of {}", scan.elements, knownPaths.elements()));
    }
  }
  for (std::size_t round = 0; round < rounds; ++round) {
    scanInto(detector);
    floorRound();
    pyatspi.add(python.scan().cost);
    libatspi.add(c.scan().cost);
  }
}

void Contest::print(Report& report) const {
  report.note(fmt::format("{} windows, {} elements", knownPaths.windows(), knownPaths.elements()));
  report.costs("a scan, before other programs have walked", unaccompanied);
  report.costs("a scan", detector);
  report.costs("known paths: five properties of each element at once", floor);
  report.costs("a ping to every program at once", pings);
  report.costs("walk.py (pyatspi)", pyatspi);
  report.costs("walk-libatspi (C)", libatspi);
  report.atMost("scans that missed a question", static_cast<double>(scansThatMissed), 0);
}

MonitoredScan monitoredScan(testing::Scanner& scanner, testing::BusMonitor& monitor) {
  const std::set<std::string> names = monitor.namesOf(getpid());
  (void)monitor.take();
  MonitoredScan monitored;
  monitored.began = steadyNow();
  monitored.questions = QuestionDesktop::questionsIn(scanner.scan());
  monitored.milliseconds = (steadyNow() - monitored.began).count() * 1e3;
  monitored.traffic = testing::BusTraffic::of(monitor.take(), names);
  return monitored;
}

double MonitoredScan::millisecondsUntilAnswersOf(const std::set<std::string>& busNames) const {
  Seconds last = began;
  for (const auto& [peer, moment] : traffic.lastAnswerByPeer) {
    if (busNames.contains(peer)) last = std::max(last, moment);
  }
  if (last == began) throw std::runtime_error("none of these programs answered");
  return (last - began).count() * 1e3;
}

std::set<std::string> namesOfQuestions(const QuestionDesktop& desktop, testing::BusMonitor& monitor) {
  std::set<pid_t> pids;
  for (std::size_t number = 0; number < QuestionDesktop::questions; ++number)
    pids.insert(desktop.programs[number]->pid());
  std::set<std::string> names;
  for (const auto& [name, process] : monitor.processes()) {
    if (pids.contains(process)) names.insert(name);
  }
  return names;
}

}  // namespace tallyfox::bench
