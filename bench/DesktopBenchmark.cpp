// Private desktops with real programs on them: how fast a scan is, beside floors and beside other programs that read
// the same windows in the same minutes; what large and stopped windows change; what the installed agent costs when
// nothing happens. Ratios of one run count: absolute times wander with the machine.

#include <fmt/format.h>

#include <charconv>
#include <cstdio>
#include <exception>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "scenes/Scenes.hpp"

namespace {

using namespace tallyfox;
using namespace tallyfox::bench;

constexpr int measurementFailed = 1;
constexpr int wrongUsage = 2;

constexpr const char* usage = R"(Usage: bench_desktop [--quick] [--rounds N] [--idle SECONDS] [SCENE...]

Scenes: dialogs (A), large (B and C), idle (D); without one, all. --quick only shows that everything runs.
)";

struct Arguments {
  Options options;
  std::set<std::string_view> scenes;
};

std::optional<Arguments> parse(int count, char** texts) {
  Arguments arguments;
  const auto number = [&](int& at) -> std::optional<int> {
    if (++at >= count) return std::nullopt;
    const std::string_view text = texts[at];
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1) return std::nullopt;
    return value;
  };
  for (int at = 1; at < count; ++at) {
    const std::string_view text = texts[at];
    if (text == "--quick") {
      arguments.options = {.rounds = 3, .idleTime = Seconds(5)};
    } else if (text == "--rounds" || text == "--idle") {
      const auto value = number(at);
      if (!value) return std::nullopt;
      if (text == "--rounds") {
        arguments.options.rounds = static_cast<std::size_t>(*value);
      } else {
        arguments.options.idleTime = Seconds(*value);
      }
    } else if (text == "dialogs" || text == "large" || text == "idle") {
      arguments.scenes.insert(text);
    } else {
      return std::nullopt;
    }
  }
  if (arguments.scenes.empty()) arguments.scenes = {"dialogs", "large", "idle"};
  return arguments;
}

}  // namespace

int main(int argc, char** argv) {
  const auto arguments = parse(argc, argv);
  if (!arguments) {
    fmt::print(stderr, "{}", usage);
    return wrongUsage;
  }
  try {
    Report report;
    if (arguments->scenes.contains("dialogs")) measureDialogs(arguments->options, report);
    if (arguments->scenes.contains("large")) measureLargeWindows(arguments->options, report);
    if (arguments->scenes.contains("idle")) measureIdleAgent(arguments->options, report);
    report.summary();
  } catch (const std::exception& failure) {
    fmt::print(stderr, "bench_desktop: {}.\n", failure.what());
    return measurementFailed;
  }
  return 0;
}
