#include "ProcessMetrics.hpp"

#include <sys/resource.h>
#include <unistd.h>

#include <charconv>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>

namespace tallyfox::server {
namespace {

/// Fields of /proc/self/stat as proc(5) counts them.
constexpr std::size_t startTime = 22;
constexpr std::size_t virtualBytes = 23;
constexpr std::size_t residentPages = 24;

std::optional<std::uint64_t> number(std::string_view text) {
  std::uint64_t value = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc{}) return std::nullopt;
  return value;
}

std::string content(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// One field; the second, the program's name, may hold spaces and ends with the last bracket.
std::optional<std::uint64_t> statField(std::string_view stat, std::size_t wanted) {
  const std::size_t name = stat.rfind(") ");
  if (name == std::string_view::npos) return std::nullopt;
  stat.remove_prefix(name + 2);
  for (std::size_t field = 3; field < wanted; ++field) {
    const std::size_t space = stat.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    stat.remove_prefix(space + 1);
  }
  return number(stat);
}

/// Seconds since 1970. The system tells it since its own start, and asked for that it would need more of /proc than a
/// service may be shown.
std::optional<double> processStart(std::string_view stat) {
  timespec now{};
  timespec sinceBoot{};
  const auto ticks = statField(stat, startTime);
  if (!ticks || clock_gettime(CLOCK_REALTIME, &now) != 0 || clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0)
    return std::nullopt;
  const auto boot =
      static_cast<double>(now.tv_sec - sinceBoot.tv_sec) + static_cast<double>(now.tv_nsec - sinceBoot.tv_nsec) / 1e9;
  return boot + static_cast<double>(*ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::optional<std::uint64_t> openDescriptors() {
  std::error_code error;
  const std::filesystem::directory_iterator all("/proc/self/fd", error);
  if (error) return std::nullopt;
  // One of them is the iterator's own.
  return static_cast<std::uint64_t>(std::distance(begin(all), end(all))) - 1;
}

void writeGauge(MetricsText& text, std::string_view name, std::string_view help, std::optional<std::uint64_t> value) {
  if (!value) return;
  text.gauge(name, help);
  text.sample({}, *value);
}

}  // namespace

void writeProcessMetrics(MetricsText& text) {
  rusage usage{};
  if (getrusage(RUSAGE_SELF, &usage) == 0) {
    text.counter("process_cpu_seconds_total", "Processor time of user and system.");
    text.sample({}, seconds(usage.ru_utime) + seconds(usage.ru_stime));
  }
  const std::string stat = content("/proc/self/stat");
  const auto pages = statField(stat, residentPages);
  const auto pageBytes = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  writeGauge(text, "process_resident_memory_bytes", "Memory in use.",
             pages ? std::optional(*pages * pageBytes) : std::nullopt);
  writeGauge(text, "process_virtual_memory_bytes", "Address space in use.", statField(stat, virtualBytes));
  writeGauge(text, "process_open_fds", "Open descriptors.", openDescriptors());
  rlimit descriptors{};
  if (getrlimit(RLIMIT_NOFILE, &descriptors) == 0) {
    writeGauge(text, "process_max_fds", "How many descriptors may be open.", descriptors.rlim_cur);
  }
  // Once: a clock that is set later does not move the start.
  static const std::optional<double> started = processStart(stat);
  if (started) {
    text.gauge("process_start_time_seconds", "When the process began, in seconds since 1970.");
    text.sample({}, *started);
  }
}

}  // namespace tallyfox::server
