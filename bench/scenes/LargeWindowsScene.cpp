#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "scenes/Contest.hpp"
#include "scenes/Scenes.hpp"

namespace tallyfox::bench {
namespace {

constexpr int filesToChoose = 3000;
/// The time-out with which every program starts, and what a scan may need beyond it.
constexpr double deadlineMilliseconds = 200;
constexpr double beyondDeadlineMilliseconds = 10;

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

/// A word processor that greets nobody.
void prepareWriter(const std::filesystem::path& home) {
  const auto setting = [](const char* group, const char* name, const char* value) {
    return fmt::format(
        "<item oor:path=\"/org.openoffice.{}\"><prop oor:name=\"{}\" oor:op=\"fuse\"><value>{}</value>"
        "</prop></item>\n",
        group, name, value);
  };
  writeFile(home / ".config/libreoffice/4/user/registrymodifications.xcu",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<oor:items xmlns:oor=\"http://openoffice.org/2001/registry\" "
            "xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n" +
                setting("Office.Common/Misc", "ShowTipOfTheDay", "false") +
                setting("Office.Common/Misc", "FirstRun", "false") + "</oor:items>\n");
}

/// Opens the large windows and waits until there is nothing new in them.
void openLargeWindows(QuestionDesktop& desktop, KnownPaths& knownPaths) {
  const std::filesystem::path home = desktop.session.directory() / "home";
  const std::filesystem::path folder = home / "files";
  for (int number = 0; number < filesToChoose; ++number)
    writeFile(folder / fmt::format("file-{:04}.txt", number), "");
  prepareWriter(home);
  desktop.start({"zenity", "--file-selection", "--title", "Open", "--filename", (folder / "").string()});
  desktop.start({TALLYFOX_TREE_WINDOW, "5000"});
  desktop.start({"soffice", "--writer", "--norestore", "--nologo"}, {"SAL_USE_VCLPLUGIN=gtk3"});

  constexpr std::size_t windows = QuestionDesktop::questions + 3;
  constexpr std::size_t leastElements = windows * 9 + 2 * (KnownPaths::elementsPerWindow - 9);
  std::size_t before = 0;
  const bool areUp = testing::DesktopSession::waitUntil(
      [&] {
        knownPaths.collect();
        const std::size_t elements = knownPaths.elements();
        const bool isSettled = elements == before && knownPaths.windows() >= windows && elements >= leastElements;
        before = elements;
        return isSettled;
      },
      Seconds(120));
  if (!areUp)
    throw std::runtime_error(fmt::format("the large windows did not come up: {} windows, {} elements",
                                         knownPaths.windows(), knownPaths.elements()));
}

void monitoredQuestions(QuestionDesktop& desktop, testing::BusMonitor& monitor, std::size_t rounds, Samples& answers,
                        Samples& lists) {
  const std::set<std::string> names = namesOfQuestions(desktop, monitor);
  for (std::size_t round = 0; round < rounds; ++round) {
    const MonitoredScan scan = monitoredScan(desktop.scanner, monitor);
    answers.add(scan.millisecondsUntilAnswersOf(names));
    lists.add(scan.milliseconds);
  }
}

struct Stopping {
  Samples usual;
  Samples stopped;
  Samples stoppedAgain;
  Samples healthyUsual;
  Samples healthyStopped;
  std::size_t scansThatMissed = 0;
};

void awaitAllQuestions(QuestionDesktop& desktop) {
  // On a busy machine any of them may be missed, and is then counted anew.
  const bool areBack = testing::DesktopSession::waitUntil(
      [&] { return QuestionDesktop::questionsIn(desktop.scanner.scan()) == QuestionDesktop::questions; }, Seconds(60));
  if (!areBack) throw std::runtime_error("the stopped program's question did not come back");
}

void stopOneProgram(QuestionDesktop& desktop, const std::string& address, std::size_t rounds, Stopping& stopping) {
  testing::DesktopProcess& victim = *desktop.programs.front();
  const auto timedScan = [&](std::size_t questions) {
    std::size_t found = 0;
    const Cost cost = costOf([&] { found = QuestionDesktop::questionsIn(desktop.scanner.scan()); });
    if (found > questions) throw std::runtime_error("a stopped program's question was found");
    if (found < questions) ++stopping.scansThatMissed;
    return cost.milliseconds;
  };
  for (std::size_t round = 0; round < rounds; ++round) {
    stopping.usual.add(timedScan(QuestionDesktop::questions));
    victim.setStopped(true);
    stopping.stopped.add(timedScan(QuestionDesktop::questions - 1));
    stopping.stoppedAgain.add(timedScan(QuestionDesktop::questions - 1));
    victim.setStopped(false);
    awaitAllQuestions(desktop);
  }
  testing::BusMonitor monitor(address);
  std::set<std::string> healthy;
  for (const auto& [name, process] : monitor.processes()) {
    if (process != victim.pid()) healthy.insert(name);
  }
  for (std::size_t round = 0; round < rounds; ++round) {
    stopping.healthyUsual.add(monitoredScan(desktop.scanner, monitor).millisecondsUntilAnswersOf(healthy));
    victim.setStopped(true);
    stopping.healthyStopped.add(monitoredScan(desktop.scanner, monitor).millisecondsUntilAnswersOf(healthy));
    victim.setStopped(false);
    awaitAllQuestions(desktop);
  }
}

void measureStoppedProgram(QuestionDesktop& desktop, const std::string& address, std::size_t rounds, Report& report) {
  report.heading("Scene C: one program of 23 is stopped");
  Stopping stopping;
  stopOneProgram(desktop, address, rounds, stopping);
  report.times("a scan while all programs run", stopping.usual);
  report.times("the scan that finds it stopped", stopping.stopped);
  report.times("later scans while it stays stopped", stopping.stoppedAgain);
  report.times("monitored: the other programs' answers, all run", stopping.healthyUsual);
  report.times("monitored: the other programs' answers, one stopped", stopping.healthyStopped);
  report.atMost("scans that missed another program's question", static_cast<double>(stopping.scansThatMissed), 0);
  report.atMost("back at, p95 in ms", stopping.stopped.p95(), deadlineMilliseconds + beyondDeadlineMilliseconds);
  report.atMost("others' answers: one stopped / all run",
                stopping.healthyStopped.median() / stopping.healthyUsual.median(), 1.2);
  report.atMost("later scans: one stopped / all run", stopping.stoppedAgain.median() / stopping.usual.median(), 1.2);
}

}  // namespace

void measureLargeWindows(const Options& options, Report& report) {
  report.heading("Scene B: 20 question dialogs beside three large windows");
  QuestionDesktop desktop;
  KnownPaths knownPaths(desktop.session.sessionBusAddress());
  const std::size_t monitoredRounds = std::min<std::size_t>(options.rounds, 15);
  Samples answersAlone;
  Samples listsAlone;
  {
    testing::BusMonitor monitor(knownPaths.accessibilityBusAddress());
    monitoredQuestions(desktop, monitor, monitoredRounds, answersAlone, listsAlone);
  }
  openLargeWindows(desktop, knownPaths);
  Contest contest(desktop);
  contest.run(options.rounds);
  contest.print(report);
  Samples answers;
  Samples lists;
  {
    testing::BusMonitor monitor(knownPaths.accessibilityBusAddress());
    monitoredQuestions(desktop, monitor, monitoredRounds, answers, lists);
  }
  report.times("monitored: questions' answers without large windows", answersAlone);
  report.times("monitored: questions' answers beside large windows", answers);
  report.times("monitored: list returned without large windows", listsAlone);
  report.times("monitored: list returned beside large windows", lists);
  report.atLeast("pyatspi / scan", contest.pyatspi.milliseconds.median() / contest.detector.milliseconds.median(), 3.3);
  report.figure("libatspi / scan", contest.libatspi.milliseconds.median() / contest.detector.milliseconds.median(),
                "times");
  report.atMost("scan / known paths", contest.detector.milliseconds.median() / contest.floor.milliseconds.median(),
                1.5);
  report.atMost("questions' answers: beside large windows / without", answers.median() / answersAlone.median(), 2);
  report.figure("list returned: beside large windows / without", lists.median() / listsAlone.median(), "times");
  measureStoppedProgram(desktop, knownPaths.accessibilityBusAddress(), monitoredRounds, report);
}

}  // namespace tallyfox::bench
