// Classifying one window, as happens for every window of every application on every scan: an ordinary permission
// request, an ordinary window that is none, and the longest window that a scan reads.

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

#include "base/Limits.hpp"
#include "detection/DialogPromptClassifier.hpp"

namespace tallyfox {
namespace {

DialogPromptEvidence evidence(std::string title, std::vector<std::string> lines, std::vector<std::string> buttons) {
  DialogPromptEvidence made;
  made.role = "AXWindow";
  made.subrole = "AXDialog";
  made.title = std::move(title);
  made.messageLines = std::move(lines);
  made.buttonLabels = std::move(buttons);
  made.bundleIdentifier = "com.example.notes";
  return made;
}

DialogPromptEvidence permissionRequest() {
  return evidence("", {"“Notes” would like to access files in your Documents folder.", "It shows your attachments."},
                  {"Don’t Allow", "OK"});
}

DialogPromptEvidence ordinaryWindow() {
  DialogPromptEvidence made = evidence("Shopping list – Notes", {"Bread", "Milk", "Ten apples", "Last edited today"},
                                       {"New note", "Share", "Sort", "Search"});
  made.subrole = "AXStandardWindow";
  return made;
}

/// Every element that a scan reads is a long line without any phrase, in letters beyond ASCII.
DialogPromptEvidence longestWindow() {
  std::string line;
  while (line.size() < 1000)
    line += "Größere Ängste  ";
  return evidence(line, std::vector<std::string>(limits::contentDescendants - 6, line),
                  {"Außen", "Über", "Früher", "Später", "Öffnen", "Ändern"});
}

void classify(benchmark::State& state, const DialogPromptEvidence& window) {
  for (auto _ : state)
    benchmark::DoNotOptimize(DialogPromptClassifier::classify(window));
}

BENCHMARK_CAPTURE(classify, permissionRequest, permissionRequest());
BENCHMARK_CAPTURE(classify, ordinaryWindow, ordinaryWindow());
BENCHMARK_CAPTURE(classify, longestWindow, longestWindow());

}  // namespace
}  // namespace tallyfox
