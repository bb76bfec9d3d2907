#pragma once

#include "PairingBus.hpp"

namespace tallyfox::server {

/// The bus of a relay on one machine: there is nobody else.
class LoneNode final : public PairingBus {
 public:
  void listen(Listener&) override {}
  bool keepsSnapshots() const override { return false; }
  boost::asio::awaitable<bool> enter(std::string) override { co_return true; }
  void leave(const std::string&) override {}
  boost::asio::awaitable<std::optional<Claim>> claimAgent(std::string) override { co_return noClaim; }
  bool agentJoined(const std::string&, Claim) override { return true; }
  void agentLeft(const std::string&) override {}
  void setDevices(const std::string&, std::set<std::string, std::less<>>) override {}
  void publishFrame(const std::string&, const Frame&) override {}
  void publishSnapshot(const std::string&, const Frame&) override {}
  void publishRecordChanged(const std::string&) override {}
  boost::asio::awaitable<Delivery> deliver(std::string, Frame) override { co_return Delivery::offline; }
  bool agentElsewhere(const std::string&) const override { return false; }
  std::set<std::string, std::less<>> devicesElsewhere(const std::string&) const override { return {}; }
};

}  // namespace tallyfox::server
