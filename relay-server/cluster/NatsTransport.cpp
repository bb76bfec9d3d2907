#include "NatsTransport.hpp"

#include <fmt/format.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <optional>
#include <utility>

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;

std::string claimKey(const std::string& pairingID) {
  return "claim." + pairingID;
}

}  // namespace

struct NatsTransport::Question {
  Question(NatsTransport& transport, std::string subject, std::chrono::milliseconds patience)
      : all(transport.asked_), replyTo(std::move(subject)), deadline(transport.executor(), patience) {
    all.emplace(replyTo, this);
  }
  ~Question() { all.erase(replyTo); }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  void settle(Answer outcome) {
    answer = std::move(outcome);
    deadline.cancel();
  }

  std::map<std::string, Question*, std::less<>>& all;
  std::string replyTo;
  asio::steady_timer deadline;
  std::optional<Answer> answer;
};

NatsTransport::NatsTransport(NatsConnection& connection, NatsBuckets& buckets, const NatsOptions& options,
                             std::string node)
    : connection_(connection),
      buckets_(buckets),
      prefix_(options.prefix),
      node_(std::move(node)),
      inbox_(fmt::format("{}.answers.{}.", prefix_, node_)) {}

NatsTransport::~NatsTransport() {
  connection_.onChange({});
}

asio::awaitable<bool> NatsTransport::open() {
  const auto tell = [this](const NatsConnection::Message& message) { listener_->heard(message.data); };
  nodes_ = co_await connection_.subscribe(prefix_ + ".nodes", tell);
  questions_ = co_await connection_.subscribe(nodeSubject(node_), [this](const auto& question) { answer(question); });
  answers_ = co_await connection_.subscribe(inbox_ + "*", [this](const auto& reply) { answered(reply); });
  connection_.onChange([this](bool connected) { changed(connected); });
  co_return nodes_&& questions_&& answers_;
}

asio::awaitable<bool> NatsTransport::join(std::string pairingID) {
  if (!connected()) co_return false;
  const auto tell = [this](const NatsConnection::Message& message) { listener_->heard(message.data); };
  Room room;
  room.told = co_await connection_.subscribe(roomSubject(pairingID), tell);
  room.snapshots = co_await connection_.subscribe(buckets_.snapshotSubject(pairingID), tell);
  const bool joined = room.told && room.snapshots;
  if (joined) rooms_.insert_or_assign(std::move(pairingID), std::move(room));
  co_return joined;
}

void NatsTransport::part(const std::string& pairingID) {
  rooms_.erase(pairingID);
}

void NatsTransport::tellNodes(std::string text) {
  connection_.publish(prefix_ + ".nodes", "", std::move(text));
}

void NatsTransport::tellRoom(const std::string& pairingID, std::string text) {
  connection_.publish(roomSubject(pairingID), "", std::move(text));
}

void NatsTransport::keepSnapshot(const std::string& pairingID, std::string text) {
  connection_.publish(buckets_.snapshotSubject(pairingID), "", std::move(text));
}

asio::awaitable<StorageResult<std::optional<std::string>>> NatsTransport::snapshot(std::string pairingID) {
  auto work = [this, pairingID]() -> StorageResult<std::optional<std::string>> {
    auto entry = buckets_.snapshotEntry(pairingID);
    if (!entry) return std::unexpected(entry.error());
    return *entry ? std::optional(std::move((*entry)->value)) : std::nullopt;
  };
  co_return co_await connection_.run(std::move(work));
}

asio::awaitable<ClusterTransport::Answer> NatsTransport::ask(std::string node, std::string text,
                                                             std::chrono::milliseconds patience) {
  if (!connected()) co_return Answer{.kind = Answer::Kind::nobody};
  Question question(*this, inbox_ + std::to_string(++questionCount_), patience);
  const auto unsent = [this, replyTo = question.replyTo](bool sent) {
    const auto waiting = asked_.find(replyTo);
    if (!sent && waiting != asked_.end()) waiting->second->settle({.kind = Answer::Kind::nobody});
  };
  connection_.publish(nodeSubject(node), question.replyTo, std::move(text), unsent);
  while (!question.answer) {
    const auto [cancelled] = co_await question.deadline.async_wait(asio::as_tuple(asio::use_awaitable));
    if (!cancelled) break;
  }
  co_return question.answer.value_or(Answer{.kind = Answer::Kind::silence});
}

asio::awaitable<StorageResult<std::uint64_t>> NatsTransport::claim(std::string pairingID, std::string node) {
  auto work = [this, pairingID, node] { return buckets_.putPairingEntry(claimKey(pairingID), node); };
  co_return co_await connection_.run(std::move(work));
}

asio::awaitable<StorageResult<std::optional<ClusterTransport::Claimed>>> NatsTransport::claimed(std::string pairingID) {
  auto work = [this, pairingID]() -> StorageResult<std::optional<Claimed>> {
    const auto entry = buckets_.pairingEntry(claimKey(pairingID));
    if (!entry) return std::unexpected(entry.error());
    if (!*entry) return std::nullopt;
    return Claimed{.node = (*entry)->value, .claim = (*entry)->revision};
  };
  co_return co_await connection_.run(std::move(work));
}

std::string NatsTransport::roomSubject(const std::string& pairingID) const {
  return fmt::format("{}.pairing.{}", prefix_, pairingID);
}

std::string NatsTransport::nodeSubject(const std::string& node) const {
  return fmt::format("{}.node.{}", prefix_, node);
}

void NatsTransport::answer(const NatsConnection::Message& question) {
  std::string text = listener_->asked(question.data);
  if (!question.reply.empty()) connection_.publish(question.reply, "", std::move(text));
}

void NatsTransport::answered(const NatsConnection::Message& answer) {
  const auto waiting = asked_.find(answer.subject);
  // An answer that comes too late has no meaning any more: its phone was told that nobody knows.
  if (waiting == asked_.end()) return;
  waiting->second->settle(
      {.kind = answer.nobodyThere ? Answer::Kind::nobody : Answer::Kind::text, .text = answer.data});
}

void NatsTransport::changed(bool connected) {
  if (!connected) return listener_->connectionChanged(false);
  // A NATS server that was restarted has lost what was in memory alone.
  const auto remake = [](NatsTransport& self) -> asio::awaitable<void> {
    auto work = [&buckets = self.buckets_] { return buckets.make(); };
    co_await self.connection_.run(std::move(work));
    self.listener_->connectionChanged(true);
  };
  asio::co_spawn(executor(), remake(*this), asio::detached);
}

}  // namespace tallyfox::server
