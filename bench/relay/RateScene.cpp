// From an agent to its phone, beside a bare echo and another server's publish and subscribe, all by the same client, in
// turns.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <deque>
#include <stdexcept>

#include "Pairings.hpp"
#include "Scenes.hpp"
#include "Servers.hpp"

namespace tallyfox::bench {
namespace {

using Clock = load::LoadLoop::Clock;
using load::LoadSocket;

constexpr std::size_t pairs = 32;

/// One way through a server: what goes in at `sender` comes out at `receiver`, in order.
struct Pair {
  LoadSocket* sender = nullptr;
  LoadSocket* receiver = nullptr;
  std::size_t ready = 0;
  std::deque<Clock::time_point> sent{};
};

/// Messages that come out of a receiver's stream, however they are framed.
std::size_t natsMessages(std::string& stream, std::string_view bytes, LoadSocket& socket) {
  stream.append(bytes);
  std::size_t count = 0;
  std::size_t at = 0;
  for (std::size_t end; (end = stream.find("\r\n", at)) != std::string::npos;) {
    const std::string_view line = std::string_view(stream).substr(at, end - at);
    std::size_t next = end + 2;
    if (line.starts_with("MSG ")) {
      next += std::stoul(std::string(line.substr(line.rfind(' ') + 1))) + 2;
      if (stream.size() < next) break;
      ++count;
    } else if (line == "PING") {
      socket.sendBinary("PONG\r\n");
    }
    at = next;
  }
  stream.erase(0, at);
  return count;
}

/// A server with its pairs, ready to be driven.
class Contestant {
 public:
  Contestant(Server::Kind kind, std::size_t bytes) : kind_(kind), server_(kind), text_(resultOf(bytes)), pairs_(pairs) {
    if (kind == Server::Kind::relay) registerPairings(server_.port(), pairs);
    for (std::size_t index = 0; index < pairs; ++index)
      connect(index);
    const bool connected =
        loop_.runUntil([this] { return std::ranges::all_of(pairs_, [](const Pair& pair) { return pair.ready == 2; }); },
                       std::chrono::seconds(20));
    if (!connected) throw std::runtime_error("not everyone is connected");
  }

  struct Round {
    double perSecond = 0;
    double perProcessorSecond = 0;
    double median = 0, high = 0;  ///< microseconds
  };
  /// `window` messages of each of the first `active` pairs are on their way at any time.
  Round run(std::size_t active, std::size_t window, std::chrono::milliseconds time) {
    latencies_.clear();
    running_ = true;
    const auto start = Clock::now();
    const double before = server_.process().processorSeconds();
    for (std::size_t index = 0; index < active; ++index) {
      for (std::size_t each = 0; each < window; ++each)
        send(pairs_[index]);
    }
    loop_.runUntil([] { return false; }, time);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double busy = server_.process().processorSeconds() - before;
    Round round{.perSecond = static_cast<double>(latencies_.size()) / seconds,
                .perProcessorSecond = static_cast<double>(latencies_.size()) / std::max(busy, 0.01)};
    running_ = false;
    const bool quiet = loop_.runUntil(
        [this] { return std::ranges::all_of(pairs_, [](const Pair& pair) { return pair.sent.empty(); }); },
        std::chrono::seconds(10));
    if (!quiet || lost_) throw std::runtime_error("a message was lost");
    std::ranges::sort(latencies_);
    round.median = latencies_.at(latencies_.size() / 2);
    round.high = latencies_.at(latencies_.size() * 99 / 100);
    return round;
  }

 private:
  void connect(std::size_t index) {
    Pair& pair = pairs_[index];
    const auto ended = [this](LoadSocket&, unsigned) { lost_ = true; };
    if (kind_ == Server::Kind::relay) {
      pair.receiver =
          &loop_.add(phoneAddress(server_.port(), index),
                     {.opened = [index](LoadSocket& self) { self.sendText(phoneHello(index, index)); },
                      .message = [this, &pair](LoadSocket&, std::string_view text) { heardPhone(pair, text); },
                      .ended = ended});
      pair.sender = &loop_.add(agentAddress(server_.port(), index),
                               {.opened = [&pair](LoadSocket&) { ++pair.ready; }, .message = {}, .ended = ended});
    } else if (kind_ == Server::Kind::echo) {
      pair.receiver = pair.sender = &loop_.add(
          {.port = server_.port()}, {.opened = [&pair](LoadSocket&) { pair.ready = 2; },
                                     .message = [this, &pair](LoadSocket&, std::string_view) { arrived(pair); },
                                     .ended = ended});
    } else {
      connectNats(index, ended);
    }
  }
  void connectNats(std::size_t index, const std::function<void(LoadSocket&, unsigned)>& ended) {
    Pair& pair = pairs_[index];
    auto stream = std::make_shared<std::string>();
    const std::string subscribe = "SUB pairing." + std::to_string(index) + " 1\r\n";
    const std::string greeting = "CONNECT {\"verbose\":false}\r\n";
    pair.receiver = &loop_.add({.port = server_.port()},
                               {.opened = [&pair, greeting, subscribe](
                                              LoadSocket& self) { self.sendBinary(greeting + subscribe + "PING\r\n"); },
                                .message =
                                    [this, &pair, stream](LoadSocket& self, std::string_view bytes) {
                                      if (bytes.contains("PONG\r\n")) ++pair.ready;
                                      for (std::size_t count = natsMessages(*stream, bytes, self); count > 0; --count)
                                        arrived(pair);
                                    },
                                .ended = ended});
    pair.sender = &loop_.add({.port = server_.port()}, {.opened =
                                                            [&pair, greeting](LoadSocket& self) {
                                                              self.sendBinary(greeting);
                                                              ++pair.ready;
                                                            },
                                                        .message =
                                                            [](LoadSocket& self, std::string_view bytes) {
                                                              if (bytes.contains("PING\r\n"))
                                                                self.sendBinary("PONG\r\n");
                                                            },
                                                        .ended = ended});
  }
  void heardPhone(Pair& pair, std::string_view text) {
    if (text.starts_with(R"({"type":"approval.result")")) return arrived(pair);
    if (text.contains("relay.welcome")) ++pair.ready;
  }
  void arrived(Pair& pair) {
    latencies_.push_back(std::chrono::duration<double, std::micro>(Clock::now() - pair.sent.front()).count());
    pair.sent.pop_front();
    if (running_) send(pair);
  }
  void send(Pair& pair) {
    pair.sent.push_back(Clock::now());
    if (kind_ != Server::Kind::nats) return pair.sender->sendText(text_);
    const auto index = static_cast<std::size_t>(&pair - pairs_.data());
    pair.sender->sendBinary(fmt::format("PUB pairing.{} {}\r\n{}\r\n", index, text_.size(), text_));
  }

  Server::Kind kind_;
  Server server_;
  std::string text_;
  load::LoadLoop loop_;
  std::vector<Pair> pairs_;
  std::vector<double> latencies_;
  bool running_ = false;
  bool lost_ = false;
};

using Rounds = std::vector<Contestant::Round>;

double medianOf(const Rounds& rounds, double Contestant::Round::* figure) {
  std::vector<double> values;
  for (const auto& round : rounds)
    values.push_back(round.*figure);
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

void printRates(std::string_view what, std::string_view name, const Rounds& rounds, const Rounds& echo) {
  using Round = Contestant::Round;
  const double ratio = medianOf(rounds, &Round::perSecond) / medianOf(echo, &Round::perSecond);
  const double work = medianOf(rounds, &Round::perProcessorSecond) / medianOf(echo, &Round::perProcessorSecond);
  fmt::print(
      "{}: {:<5} {:7.0f} messages/s, {:7.0f} per processor second, p50 {:6.0f} µs, p99 {:6.0f} µs; of the echo: "
      "rate {:.2f}, per processor second {:.2f}\n",
      what, name, medianOf(rounds, &Round::perSecond), medianOf(rounds, &Round::perProcessorSecond),
      medianOf(rounds, &Round::median), medianOf(rounds, &Round::high), ratio, work);
}

}  // namespace

void rateScene(const Settings& settings) {
  constexpr std::array<std::string_view, 3> names{"relay", "echo", "nats"};
  for (const std::size_t bytes : {std::size_t{400}, std::size_t{8'000}}) {
    std::array<Contestant, 3> contestants{Contestant(Server::Kind::relay, bytes), Contestant(Server::Kind::echo, bytes),
                                          Contestant(Server::Kind::nats, bytes)};
    for (const auto& [active, window] : {std::pair<std::size_t, std::size_t>{pairs, 8}, {1, 1}}) {
      std::array<Rounds, 3> rounds;
      for (std::size_t round = 0; round < settings.rounds; ++round) {
        for (std::size_t index = 0; index < contestants.size(); ++index)
          rounds.at(index).push_back(contestants.at(index).run(active, window, settings.round));
      }
      const std::string what = fmt::format("{} bytes, {} of {} on their way", bytes, window, active);
      for (std::size_t index = 0; index < names.size(); ++index)
        printRates(what, names.at(index), rounds.at(index), rounds.at(1));
    }
  }
}

}  // namespace tallyfox::bench
