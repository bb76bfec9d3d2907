#include "scenes/Figures.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace tallyfox::bench {
namespace {

double processorMilliseconds() {
  timespec now{};
  if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now) != 0) throw std::runtime_error("no processor clock");
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

template <typename... Arguments>
void line(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  fmt::print(format, std::forward<Arguments>(arguments)...);
  fmt::print("\n");
  std::fflush(stdout);
}

}  // namespace

Cost costOf(const std::function<void()>& work) {
  const auto began = std::chrono::steady_clock::now();
  const double processorBegan = processorMilliseconds();
  work();
  const double processorTook = processorMilliseconds() - processorBegan;
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - began;
  return {took.count(), processorTook};
}

double Samples::quantile(double share) const {
  if (values_.empty()) throw std::runtime_error("nothing was measured");
  std::vector<double> sorted = values_;
  std::ranges::sort(sorted);
  const double place = share * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(std::floor(place));
  const auto above = static_cast<std::size_t>(std::ceil(place));
  return std::lerp(sorted[below], sorted[above], place - std::floor(place));
}

void Report::heading(const std::string& text) const {
  line("\n{}\n{}", text, std::string(text.size(), '='));
}

void Report::note(const std::string& text) const {
  line("  {}", text);
}

void Report::costs(const std::string& name, const CostSamples& samples) const {
  line("  {:<58} {:>9.2f} ms  p95 {:>9.2f}  processor {:>8.2f} ms  ({} runs)", name, samples.milliseconds.median(),
       samples.milliseconds.p95(), samples.processorMilliseconds.median(), samples.milliseconds.count());
}

void Report::times(const std::string& name, const Samples& milliseconds) const {
  line("  {:<58} {:>9.2f} ms  p95 {:>9.2f}  ({} runs)", name, milliseconds.median(), milliseconds.p95(),
       milliseconds.count());
}

void Report::figure(const std::string& name, double value, const std::string& unit) const {
  line("  {:<58} {:>9.2f} {}", name, value, unit);
}

void Report::atLeast(const std::string& name, double value, double aim) {
  judge(name, value, ">=", aim, value >= aim);
}

void Report::atMost(const std::string& name, double value, double aim) {
  judge(name, value, "<=", aim, value <= aim);
}

void Report::judge(const std::string& name, double value, const char* relation, double aim, bool isMet) {
  ++(isMet ? met_ : missed_);
  line("  {:<58} {:>9.2f}     aim {} {:<7g} {}", name, value, relation, aim, isMet ? "met" : "MISSED");
}

void Report::summary() const {
  line("\n{} aims met, {} missed", met_, missed_);
}

}  // namespace tallyfox::bench
