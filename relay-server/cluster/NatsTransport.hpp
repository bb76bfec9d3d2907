#pragma once

#include <map>
#include <memory>
#include <string>

#include "ClusterTransport.hpp"
#include "NatsBuckets.hpp"
#include "NatsConnection.hpp"

namespace tallyfox::server {

/// Texts between nodes over NATS: `PREFIX.nodes` to all, `PREFIX.pairing.ID` to a room, `PREFIX.node.NAME` to one node,
/// and the snapshots' bucket, whose puts are heard as they pass.
class NatsTransport final : public ClusterTransport {
 public:
  NatsTransport(NatsConnection& connection, NatsBuckets& buckets, const NatsOptions& options, std::string node);
  ~NatsTransport() override;

  /// Hears all nodes and answers questions; to be called once, before anything else. False when that is not possible.
  [[nodiscard]] boost::asio::awaitable<bool> open();

  void listen(Listener& listener) override { listener_ = &listener; }
  boost::asio::any_io_executor executor() const override { return connection_.executor(); }
  bool connected() const override { return connection_.connected(); }
  boost::asio::awaitable<bool> join(std::string pairingID) override;
  void part(const std::string& pairingID) override;
  void tellNodes(std::string text) override;
  void tellRoom(const std::string& pairingID, std::string text) override;
  void keepSnapshot(const std::string& pairingID, std::string text) override;
  boost::asio::awaitable<StorageResult<std::optional<std::string>>> snapshot(std::string pairingID) override;
  boost::asio::awaitable<Answer> ask(std::string node, std::string text, std::chrono::milliseconds patience) override;
  boost::asio::awaitable<StorageResult<std::uint64_t>> claim(std::string pairingID, std::string node) override;
  boost::asio::awaitable<StorageResult<std::optional<Claimed>>> claimed(std::string pairingID) override;

 private:
  using Subscription = std::unique_ptr<NatsConnection::Subscription>;
  struct Room {
    Subscription told, snapshots;
  };
  /// A question that waits for its answer.
  struct Question;

  [[nodiscard]] std::string roomSubject(const std::string& pairingID) const;
  [[nodiscard]] std::string nodeSubject(const std::string& node) const;
  void answer(const NatsConnection::Message& question);
  void answered(const NatsConnection::Message& answer);
  void changed(bool connected);

  NatsConnection& connection_;
  NatsBuckets& buckets_;
  std::string prefix_, node_, inbox_;
  Listener* listener_ = nullptr;
  Subscription nodes_, questions_, answers_;
  std::map<std::string, Room, std::less<>> rooms_;
  std::map<std::string, Question*, std::less<>> asked_;  ///< by the subject of the answer
  std::uint64_t questionCount_ = 0;
};

}  // namespace tallyfox::server
