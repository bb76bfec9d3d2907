#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "World.hpp"

namespace tallyfox::chaos {

/// Pairings of one agent and one phone each: the phone asks, the agent answers, at once and again, without end.
class GoodClients {
 public:
  /// Takes the pairings from `first` on.
  GoodClients(const World& world, std::size_t first, std::size_t count);

  [[nodiscard]] bool allTalk() const;
  /// From now on what happens belongs to another round.
  void startRound();
  /// Answers of the pairing that had the fewest in this round.
  [[nodiscard]] std::size_t fewestAnswers() const;
  /// Of the round, in milliseconds.
  [[nodiscard]] double slowest(double share) const;
  [[nodiscard]] std::size_t lost() const { return lost_; }

 private:
  using Clock = load::LoadLoop::Clock;
  struct Pair {
    load::LoadSocket* phone = nullptr;
    std::string awaited{};
    Clock::time_point asked{};
    std::size_t answers = 0;
  };
  void connect(std::size_t pairing, Pair& pair);
  void ask(Pair& pair);

  World world_;
  std::vector<Pair> pairs_;
  std::vector<double> times_;
  std::size_t asked_ = 0;
  std::size_t lost_ = 0;
};

}  // namespace tallyfox::chaos
