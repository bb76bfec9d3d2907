#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef TALLYFOX_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>

#include "RelayLimits.hpp"
#include "RelayOptions.hpp"
#include "RelayServer.hpp"
#include "base/Console.hpp"
#include "push/VapidKey.hpp"

namespace {

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

void printLine(std::FILE* stream, std::string_view line) {
  fmt::print(stream, "{}\n", line);
  std::fflush(stream);
}

/// Standard output says that the relay is ready, and nothing more; events go here.
class StandardErrorConsole final : public tallyfox::Console {
 public:
  void printLine(std::string_view line) override { ::printLine(stderr, line); }
};

/// Every connection is a descriptor, and the usual soft limit is the number of strangers alone.
void raiseDescriptorLimit() {
  rlimit descriptors{};
  if (getrlimit(RLIMIT_NOFILE, &descriptors) != 0) return;
  descriptors.rlim_cur = descriptors.rlim_max;
  setrlimit(RLIMIT_NOFILE, &descriptors);
}

/// Where an installation keeps the phone page: in share beside this program's bin. Empty when it has none.
std::filesystem::path installedPage() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  auto page = program.parent_path().parent_path() / "share/tallyfox-relay/page";
  return !error && std::filesystem::is_directory(page, error) ? page : std::filesystem::path();
}

/// Whether the descriptor is the one that the service manager connected to its journal and named in the environment.
bool isJournal(int descriptor) {
  const char* const named = std::getenv("JOURNAL_STREAM");
  struct stat status{};
  if (named == nullptr || fstat(descriptor, &status) != 0) return false;
  return fmt::format("{}:{}", status.st_dev, status.st_ino) == named;
}

void tellServiceManager([[maybe_unused]] tallyfox::server::RelayServer::State state) {
#ifdef TALLYFOX_SYSTEMD
  using State = tallyfox::server::RelayServer::State;
  // Without a service manager that asked for it this does nothing.
  sd_notify(0, state == State::ready ? "READY=1" : state == State::reloading ? "RELOADING=1" : "STOPPING=1");
#endif
}

int run(std::span<const char* const> arguments) {
  using namespace tallyfox::server;
  auto asked = RelayOptions::parsed(arguments);
  if (!asked) {
    printLine(stderr, asked.error());
    return exitUsage;
  }
  if (asked->purpose == RelayOptions::Purpose::showHelp) {
    fmt::print("{}", helpText());
    return 0;
  }
  if (asked->purpose == RelayOptions::Purpose::showVersion) {
    fmt::print("tallyfox-relay {}\n", TALLYFOX_VERSION);
    return 0;
  }
  if (asked->purpose == RelayOptions::Purpose::makePushKey) {
    const auto made = VapidKey::create(asked->newPushKey);
    if (!made) printLine(stderr, made.error());
    return made ? 0 : exitFailure;
  }
  const auto read = [arguments] {
    auto given = GivenOptions::read(arguments);
    if (given && !given->options.pageDirectory) given->options.pageDirectory = installedPage();
    return given;
  };
  auto given = read();
  if (!given) {
    printLine(stderr, given.error());
    return exitUsage;
  }
  RelayOptions* const options = &given->options;
  options->log.priorities = isJournal(STDERR_FILENO);
  StandardErrorConsole console;
  const auto server = RelayServer::open(*options, RelayLimits{}, console);
  if (!server) {
    printLine(stderr, server.error());
    return exitFailure;
  }
  (*server)->readSettingsBy(read, std::move(given->texts));
  (*server)->obeySignals();
  (*server)->onState(tellServiceManager);
  printLine(stdout, fmt::format("Tallyfox relay listening on {}.", (*server)->address()));
  (*server)->run();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // A log reader that goes away must not take the relay with it.
  std::signal(SIGPIPE, SIG_IGN);
  raiseDescriptorLimit();
  try {
    return run(std::span<const char* const>(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0));
  } catch (const std::exception& failure) {
    std::fputs("Tallyfox relay failed: ", stderr);
    std::fputs(failure.what(), stderr);
    std::fputs("\n", stderr);
    return exitFailure;
  }
}
