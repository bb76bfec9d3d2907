// What an idle phone costs: many sockets of many pairings, welcomed and then silent but for their pongs; and how long
// they all take to come back after a restart.
#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "Pairings.hpp"
#include "Scenes.hpp"
#include "Servers.hpp"

namespace tallyfox::bench {
namespace {

using Clock = load::LoadLoop::Clock;

/// Under the number of strangers that a relay takes.
constexpr std::size_t atOnce = 400;

/// Connects and greets; a socket that is turned away comes again.
class Phones {
 public:
  Phones(std::uint16_t port, std::size_t count) : port_(port), count_(count) {}

  /// The seconds until the last one was welcomed.
  double connect() {
    const auto start = Clock::now();
    const auto beginSome = [this] {
      for (; begun_ < count_ && begun_ - welcomed_ < atOnce; ++begun_)
        begin(begun_);
      while (!refused_.empty() && begun_ - welcomed_ < 2 * atOnce) {
        const std::size_t again = refused_.back();
        refused_.pop_back();
        begin(again);
      }
    };
    if (!loop_.runUntil([this] { return welcomed_ == count_; }, std::chrono::minutes(5), beginSome)) {
      throw std::runtime_error(fmt::format("only {} of {} phones are welcomed", welcomed_, count_));
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
  }
  /// Answers pings for so long.
  void idle(std::chrono::milliseconds time) {
    loop_.runUntil([] { return false; }, time);
  }
  [[nodiscard]] std::size_t lost() const { return lost_; }

 private:
  void begin(std::size_t index) {
    auto isWelcome = std::make_shared<bool>(false);
    loop_.add(
        phoneAddress(port_, index),
        {.opened = [index](load::LoadSocket& self) { self.sendText(phoneHello(index / phonesPerPairing, index)); },
         .message =
             [this, isWelcome](load::LoadSocket&, std::string_view text) {
               if (!text.contains("relay.welcome")) return;
               *isWelcome = true;
               ++welcomed_;
             },
         .ended =
             [this, isWelcome, index](load::LoadSocket& self, unsigned) {
               if (*isWelcome) ++lost_;
               if (!*isWelcome) refused_.push_back(index);
               loop_.remove(self);
             }});
  }

  std::uint16_t port_;
  std::size_t count_;
  load::LoadLoop loop_;
  std::vector<std::size_t> refused_;
  std::size_t begun_ = 0, welcomed_ = 0, lost_ = 0;
};

}  // namespace

void idleScene(const Settings& settings) {
  Server relay(Server::Kind::relay);
  registerPairings(relay.port(), settings.sockets / phonesPerPairing + 1);
  // A restarted relay has nothing of the registrations in its memory.
  relay.stop();
  relay.start();
  const std::size_t empty = relay.process().residentBytes();
  double first = 0;
  {
    Phones phones(relay.port(), settings.sockets);
    first = phones.connect();
    const std::size_t connected = relay.process().residentBytes();
    const double before = relay.process().processorSeconds();
    phones.idle(settings.idle);
    const double busy = relay.process().processorSeconds() - before;
    const std::size_t idle = relay.process().residentBytes();
    if (phones.lost() > 0) throw std::runtime_error("idle phones were cut");
    const auto each = [&](std::size_t bytes) {
      return static_cast<double>(bytes - empty) / static_cast<double>(settings.sockets) / 1024;
    };
    fmt::print(
        "idle: {} phones of {} pairings; {:.2f} KiB each when connected, {:.2f} KiB after {} s of pings (aim <= 12: "
        "{})\n",
        settings.sockets, settings.sockets / phonesPerPairing, each(connected), each(idle),
        std::chrono::duration_cast<std::chrono::seconds>(settings.idle).count(), each(idle) <= 12 ? "met" : "MISSED");
    fmt::print("idle: {:.0f} phones in a GiB; {:.2f} % of a core for the pings; an empty relay has {:.1f} MiB\n",
               1024.0 * 1024 / each(idle), 100 * busy / std::chrono::duration<double>(settings.idle).count(),
               static_cast<double>(empty) / 1024 / 1024);
    relay.stop(true);
  }
  relay.start();
  Phones phones(relay.port(), settings.sockets);
  const double before = relay.process().processorSeconds();
  const double again = phones.connect();
  fmt::print(
      "reconnect: all {} for the first time in {:.1f} s; after kill -9 and a restart in {:.1f} s, {:.0f} a second, "
      "{:.0f} µs of processor each\n",
      settings.sockets, first, again, static_cast<double>(settings.sockets) / again,
      1e6 * (relay.process().processorSeconds() - before) / static_cast<double>(settings.sockets));
}

}  // namespace tallyfox::bench
