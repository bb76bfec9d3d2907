// A relay in a process of its own among bad clients, round by round. What must hold: every bad connection is cut within
// its limit, every good client gets its answers all the time, and memory stays flat from the second round on.
// usage: relay_chaos [--sockets N] [--rounds N] [--seed N] [--real-limits]

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <filesystem>
#include <string_view>

#include "BadClients.hpp"
#include "GoodClients.hpp"
#include "RelayLimits.hpp"
#include "RelayServer.hpp"
#include "base/Console.hpp"
#include "load/ChildProcess.hpp"

namespace tallyfox::chaos {
namespace {

using load::ChildProcess;
using load::LoadSocket;
using server::RelayLimits;

constexpr std::size_t goodPairings = 10;

struct Settings {
  std::size_t sockets = 300;  ///< half-open ones; there are as many others
  std::size_t rounds = 4;
  std::uint64_t seed = 1;
  bool realLimits = false;
};

/// Short enough for a test, and long enough for a busy machine to serve those who keep to them.
RelayLimits limitsOf(const Settings& settings) {
  RelayLimits limits;
  const server::Rate any{.burst = 1e9, .perSecond = 1e9};
  limits.connectionsPerAddress = limits.requestsPerAddress = limits.registrationsPerAddress = any;
  limits.agentConnectionsPerPairing = any;
  limits.phoneRate = limits.agentRate = {.frames = any, .bytes = any};
  if (settings.realLimits) return limits;
  limits.requestTime = limits.helloTime = std::chrono::milliseconds(2'000);
  limits.closeTime = std::chrono::milliseconds(500);
  limits.pingInterval = std::chrono::milliseconds(1'000);
  limits.idleTime = std::chrono::milliseconds(4'000);
  limits.outgoingFrames = 64;
  return limits;
}

class NoConsole final : public Console {
 public:
  void printLine(std::string_view) override {}
};

void serve(int ready, const RelayLimits& limits, const std::filesystem::path& directory) {
  NoConsole console;
  server::RelayOptions options;
  options.address = "127.0.0.1";
  options.dataDirectory = directory;
  const auto relay = server::RelayServer::open(options, limits, console);
  if (!relay) return;
  (*relay)->obeySignals();
  dprintf(ready, "%u\n", (*relay)->port());
  (*relay)->run();
}

class Run {
 public:
  Run(const Settings& settings, const std::filesystem::path& directory)
      : settings_(settings),
        limits_(limitsOf(settings)),
        relay_([&](int ready) { serve(ready, limits_, directory); }),
        port_(static_cast<std::uint16_t>(std::stoul("0" + relay_.ready()))),
        random_(settings.seed) {}

  /// Whether everything held.
  bool all() {
    registerAll(goodPairings + BadClients::pairingsFor(settings_.sockets));
    GoodClients good(world(), 0, goodPairings);
    check(loop_.runUntil([&] { return good.allTalk(); }, patience), "good clients talk");
    baseline_ = relay_.openDescriptors();
    fmt::print("seed {}, {} half-open and as many others a round; empty {:.1f} MiB\n", settings_.seed,
               settings_.sockets, mebibytes(relay_.residentBytes()));
    for (std::size_t number = 1; number <= settings_.rounds && holds_; ++number)
      round(number, good);
    return holds_;
  }

 private:
  static constexpr std::chrono::seconds patience{120};

  [[nodiscard]] World world() { return {.loop = loop_, .port = port_, .random = random_}; }
  static double mebibytes(std::size_t bytes) { return static_cast<double>(bytes) / 1024 / 1024; }

  void check(bool holds, std::string_view what) {
    if (holds) return;
    holds_ = false;
    fmt::print("FAILED: {}\n", what);
  }

  void registerAll(std::size_t count) {
    constexpr std::size_t atOnce = 100;
    std::size_t begun = 0;
    std::size_t ended = 0;
    const auto some = [&] {
      for (; begun < count && begun - ended < atOnce; ++begun) {
        LoadSocket& socket = loop_.add({.port = port_, .path = ""},
                                       {.opened = {}, .message = {}, .ended = [&](LoadSocket& self, unsigned status) {
                                          check(status == 204, "a registration");
                                          ++ended;
                                          loop_.remove(self);
                                        }});
        socket.sendRaw("PUT /api/pairings/" + pairingName(begun) + "/relay-token HTTP/1.1\r\nHost: relay\r\n" +
                       "Authorization: Bearer " + token + std::to_string(begun) +
                       "\r\nContent-Length: 28\r\n\r\n{\"client\":\"mac\",\"version\":1}");
      }
    };
    check(loop_.runUntil([&] { return ended == count; }, patience, some), "registrations");
  }

  void round(std::size_t number, GoodClients& good) {
    good.startRound();
    BadClients bad(world(), goodPairings, settings_.sockets);
    const auto turn = [&] { bad.turn(); };
    check(loop_.runUntil([&] { return bad.allDone(); }, patience, turn), "bad clients do what they came for");
    const std::size_t peak = relay_.residentBytes();
    const std::size_t open = relay_.openDescriptors();
    const auto start = load::LoadLoop::Clock::now();
    // Everyone is cut but the agent of the slow readers; the longest limit is that of the half-open.
    const auto longest = 3 * (limits_.idleTime + limits_.closeTime);
    check(loop_.runUntil([&] { return relay_.openDescriptors() <= baseline_ + 1; }, longest, turn,
                         std::chrono::milliseconds(20)),
          fmt::format("all are cut in time; {} are not", relay_.openDescriptors() - baseline_));
    const auto took = std::chrono::duration<double>(load::LoadLoop::Clock::now() - start).count();
    check(bad.slowDecisions() == bad.byteWriters(), "whoever writes byte by byte is heard");
    check(good.lost() == 0, "no good client is cut");
    check(good.fewestAnswers() > 0, "every good client is answered in every round");
    const std::size_t resident = relay_.residentBytes();
    fmt::print(
        "round {}: {} connections to cut, {} vanished, {} descriptors, {:.1f} MiB at most; all cut {:.1f} s later, "
        "{:.1f} MiB; good clients: at least {} answers each, p50 {:.2f} ms, p99 {:.2f} ms, slowest {:.0f} ms\n",
        number, bad.staying(), bad.vanished(), open, mebibytes(peak), took, mebibytes(resident), good.fewestAnswers(),
        good.slowest(0.5), good.slowest(0.99), good.slowest(1));
    bad.clear();
    check(loop_.runUntil([&] { return relay_.openDescriptors() <= baseline_; }, patience), "the last agent is gone");
    if (number == 1) firstResident_ = resident;
    // A tenth, and what an allocator keeps back one time and not another.
    check(resident <= firstResident_ + firstResident_ / 10 + 2 * 1024 * 1024, "memory is flat");
  }

  Settings settings_;
  RelayLimits limits_;
  ChildProcess relay_;
  std::uint16_t port_;
  std::mt19937_64 random_;
  load::LoadLoop loop_;
  std::size_t baseline_ = 0;
  std::size_t firstResident_ = 0;
  bool holds_ = true;
};

int run(int argc, char** argv) {
  Settings settings;
  for (int index = 1; index < argc; ++index) {
    const std::string_view option = argv[index];
    if (option == "--real-limits") {
      settings.realLimits = true;
      continue;
    }
    const std::size_t value = index + 1 < argc ? std::stoul(argv[index + 1]) : 0;
    ++index;
    if (option == "--sockets") settings.sockets = value;
    if (option == "--rounds") settings.rounds = value;
    if (option == "--seed") settings.seed = value;
  }
  std::string directory = (std::filesystem::temp_directory_path() / "tallyfox-chaos-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) return 1;
  const bool holds = Run(settings, directory).all();
  std::filesystem::remove_all(directory);
  return holds ? 0 : 1;
}

}  // namespace
}  // namespace tallyfox::chaos

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  rlimit descriptors{};
  getrlimit(RLIMIT_NOFILE, &descriptors);
  descriptors.rlim_cur = descriptors.rlim_max;
  setrlimit(RLIMIT_NOFILE, &descriptors);
  try {
    return tallyfox::chaos::run(argc, argv);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "relay_chaos: {}\n", failure.what());
    return 1;
  }
}
