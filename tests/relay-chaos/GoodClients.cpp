#include "GoodClients.hpp"

#include <algorithm>
#include <utility>

namespace tallyfox::chaos {

using load::LoadSocket;

GoodClients::GoodClients(const World& world, std::size_t first, std::size_t count) : world_(world), pairs_(count) {
  for (std::size_t index = 0; index < count; ++index)
    connect(first + index, pairs_[index]);
}

void GoodClients::connect(std::size_t pairing, Pair& pair) {
  const auto ended = [this](LoadSocket&, unsigned) { ++lost_; };
  world_.loop.add(
      agentAddress(world_.port, pairing),
      {.opened =
           [this, pairing, &pair, ended](LoadSocket&) {
             pair.phone = &world_.loop.add(
                 {.port = world_.port, .path = "/phone"},
                 {.opened = [pairing](LoadSocket& self) { self.sendText(hello(pairing, 0)); },
                  .message =
                      [this, &pair](LoadSocket&, std::string_view text) {
                        if (text.contains("relay.welcome")) return ask(pair);
                        if (!text.contains("approval.result") || !text.contains(pair.awaited)) return;
                        times_.push_back(std::chrono::duration<double, std::milli>(Clock::now() - pair.asked).count());
                        ++pair.answers;
                        ask(pair);
                      },
                  .ended = ended});
           },
       .message =
           [](LoadSocket& self, std::string_view text) {
             const std::size_t at = text.find("decision-");
             if (at == std::string_view::npos) return;
             self.sendText(result(std::string(text.substr(at, text.find('"', at) - at))));
           },
       .ended = ended});
}

void GoodClients::ask(Pair& pair) {
  pair.awaited = "decision-" + std::to_string(++asked_) + "\"";
  pair.asked = Clock::now();
  pair.phone->sendText(request(pair.awaited.substr(0, pair.awaited.size() - 1)));
}

bool GoodClients::allTalk() const {
  return fewestAnswers() > 0;
}

void GoodClients::startRound() {
  times_.clear();
  for (Pair& pair : pairs_)
    pair.answers = 0;
}

std::size_t GoodClients::fewestAnswers() const {
  return std::ranges::min_element(pairs_, {}, &Pair::answers)->answers;
}

double GoodClients::slowest(double share) const {
  std::vector<double> sorted = times_;
  std::ranges::sort(sorted);
  return sorted.empty() ? 0 : sorted.at(static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * share));
}

}  // namespace tallyfox::chaos
