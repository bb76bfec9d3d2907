#pragma once

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "cluster/ClusterBus.hpp"
#include "cluster/ClusterTransport.hpp"

namespace tallyfox::server::testing {

class FakeTransport;

/// What connects nodes in one process, on virtual time: texts travel when the test lets them, in their order, and may
/// be held back or lost.
class FakeNetwork {
 public:
  using Clock = ClusterBus::Clock;

  /// Lets everything happen that can happen without time passing.
  void settle();
  /// Lets time pass; beats are the test's own business.
  void advance(Clock::duration time);

  boost::asio::io_context io;
  Clock::time_point now{std::chrono::hours(1)};
  std::set<std::string> heldBack;  ///< nodes whose texts stay in the network until they are released
  bool answersAreLost = false;

 private:
  friend class FakeTransport;
  struct Question {
    boost::asio::steady_timer wake;
    Clock::time_point deadline;
    std::optional<ClusterTransport::Answer> answer{};
  };
  struct Travelling {
    std::string from;
    std::function<void()> arrive;
  };

  /// Lets one text arrive; false when none may.
  bool step();
  void send(const std::string& from, std::function<void()> arrive) { travelling_.push_back({from, std::move(arrive)}); }

  std::map<std::string, FakeTransport*> nodes_;
  std::deque<Travelling> travelling_;
  std::list<Question*> questions_;
  std::map<std::string, ClusterTransport::Claimed> claims_;
  std::map<std::string, std::string> snapshots_;
  std::uint64_t revision_ = 0;
};

/// One node's end of the network.
class FakeTransport final : public ClusterTransport {
 public:
  FakeTransport(FakeNetwork& network, std::string node) : network_(network), node_(std::move(node)) {
    network_.nodes_[node_] = this;
  }
  ~FakeTransport() override { network_.nodes_.erase(node_); }

  void cut() { setConnected(false); }
  void mend() { setConnected(true); }
  [[nodiscard]] const std::set<std::string>& rooms() const { return rooms_; }
  [[nodiscard]] static std::string keptIn(const FakeNetwork& network, const std::string& pairingID) {
    const auto kept = network.snapshots_.find(pairingID);
    return kept == network.snapshots_.end() ? "" : kept->second.substr(kept->second.find('\n') + 1);
  }

  void listen(Listener& listener) override { listener_ = &listener; }
  boost::asio::any_io_executor executor() const override { return network_.io.get_executor(); }
  bool connected() const override { return connected_; }
  boost::asio::awaitable<bool> join(std::string pairingID) override {
    if (connected_) rooms_.insert(pairingID);
    co_return connected_;
  }
  void part(const std::string& pairingID) override { rooms_.erase(pairingID); }
  void tellNodes(std::string text) override {
    tell([](const FakeTransport&) { return true; }, std::move(text));
  }
  void tellRoom(const std::string& pairingID, std::string text) override {
    tell([pairingID](const FakeTransport& node) { return node.rooms_.contains(pairingID); }, std::move(text));
  }
  void keepSnapshot(const std::string& pairingID, std::string text) override {
    if (connected_) network_.snapshots_[pairingID] = text;
    tellRoom(pairingID, std::move(text));
  }
  boost::asio::awaitable<StorageResult<std::optional<std::string>>> snapshot(std::string pairingID) override {
    if (!connected_) co_return std::unexpected(StorageError{"cut off"});
    const auto kept = network_.snapshots_.find(pairingID);
    co_return kept == network_.snapshots_.end() ? std::nullopt : std::optional(kept->second);
  }
  boost::asio::awaitable<Answer> ask(std::string node, std::string text, std::chrono::milliseconds patience) override {
    if (!connected_) co_return Answer{.kind = Answer::Kind::nobody};
    FakeNetwork::Question question{.wake = {executor(), boost::asio::steady_timer::time_point::max()},
                                   .deadline = network_.now + patience};
    network_.questions_.push_back(&question);
    network_.send(node_, [this, node, text, &question] { arrive(node, text, question); });
    while (!question.answer)
      co_await question.wake.async_wait(boost::asio::as_tuple(boost::asio::use_awaitable));
    co_return *question.answer;
  }
  boost::asio::awaitable<StorageResult<std::uint64_t>> claim(std::string pairingID, std::string node) override {
    if (!connected_) co_return std::unexpected(StorageError{"cut off"});
    network_.claims_[pairingID] = {.node = node, .claim = ++network_.revision_};
    co_return network_.revision_;
  }
  boost::asio::awaitable<StorageResult<std::optional<Claimed>>> claimed(std::string pairingID) override {
    if (!connected_) co_return std::unexpected(StorageError{"cut off"});
    const auto found = network_.claims_.find(pairingID);
    co_return found == network_.claims_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  friend class FakeNetwork;

  void tell(std::function<bool(const FakeTransport&)> isMeant, std::string text) {
    if (!connected_) return;
    for (const auto& [name, node] : network_.nodes_) {
      if (name == node_ || !node->connected_ || !isMeant(*node)) continue;
      network_.send(node_, [&network = network_, name, text] {
        const auto target = network.nodes_.find(name);
        if (target != network.nodes_.end() && target->second->connected_) target->second->listener_->heard(text);
      });
    }
  }
  void arrive(const std::string& node, const std::string& text, FakeNetwork::Question& question) {
    // Its asker may have lost patience; the text arrives all the same.
    const auto settle = [&network = network_, &question](Answer answer) {
      if (std::ranges::find(network.questions_, &question) == network.questions_.end()) return;
      network.questions_.remove(&question);
      question.answer = std::move(answer);
      question.wake.cancel();
    };
    const auto target = network_.nodes_.find(node);
    if (target == network_.nodes_.end() || !target->second->connected_) return settle({.kind = Answer::Kind::nobody});
    std::string answer = target->second->listener_->asked(text);
    if (!network_.answersAreLost) settle({.kind = Answer::Kind::text, .text = std::move(answer)});
  }
  void setConnected(bool connected) {
    connected_ = connected;
    if (!connected) std::erase_if(network_.travelling_, [this](const auto& each) { return each.from == node_; });
    listener_->connectionChanged(connected);
    network_.settle();
  }

  FakeNetwork& network_;
  std::string node_;
  Listener* listener_ = nullptr;
  std::set<std::string> rooms_;
  bool connected_ = true;
};

inline bool FakeNetwork::step() {
  const auto next =
      std::ranges::find_if(travelling_, [this](const auto& each) { return !heldBack.contains(each.from); });
  if (next == travelling_.end()) return false;
  const auto arrive = std::move(next->arrive);
  travelling_.erase(next);
  arrive();
  return true;
}

inline void FakeNetwork::settle() {
  do {
    io.restart();
    io.poll();
  } while (step());
}

inline void FakeNetwork::advance(Clock::duration time) {
  now += time;
  const auto questions = questions_;
  for (Question* const question : questions) {
    if (question->deadline > now) continue;
    questions_.remove(question);
    question->answer = ClusterTransport::Answer{.kind = ClusterTransport::Answer::Kind::silence};
    question->wake.cancel();
  }
  settle();
}

}  // namespace tallyfox::server::testing
