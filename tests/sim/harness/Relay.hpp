#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/AgentWorld.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "relay/RelayCrypto.hpp"
#include "sim/harness/Checker.hpp"
#include "sim/harness/Random.hpp"
#include "sim/harness/Scenario.hpp"

namespace tallyfox::sim {

/// The far side: a relay that accepts the agent's token and socket, or not, and forwards frames, sooner or later, once
/// or twice; and phones that know the pairing's secret and answer what they see. Runs on the director's queue.
class Relay {
 public:
  Relay(AgentWorld& world, SerialQueue& director, Checker& checker, Screen& screen, const Scenario& scenario,
        Random random);
  ~Relay();
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;

  /// A phone answers something, mostly what it was shown.
  void request();
  void suppressOrUnsuppress();
  void dropSocket();
  /// From now on everything works; the phones have the newest list.
  void heal();

  [[nodiscard]] bool isConnected() const;
  /// What the phones show.
  [[nodiscard]] const std::vector<PendingApproval>& shown() const { return shown_; }

 private:
  /// The phones learn the pairing's secret anew, as from its code on the screen.
  void pairAgain();
  void answerRegistration(std::size_t request);
  void accept(std::size_t socket);
  void receive(const std::string& text);
  void showLater(std::vector<PendingApproval> approvals);
  void send(const std::string& text, const std::function<void(std::size_t socket)>& onDelivery);
  void deliver(std::size_t socket, const std::string& text, const std::function<void(std::size_t socket)>& onDelivery);
  [[nodiscard]] std::optional<Json> opened(const EncryptedRelayPayload& payload) const;
  [[nodiscard]] EncryptedRelayPayload sealed(const Json& plaintext, bool isKeyRight) const;
  [[nodiscard]] double delay();
  void later(double seconds, std::function<void()> work);
  [[nodiscard]] std::vector<std::string> secretTexts() const;

  AgentWorld& world_;
  SerialQueue& director_;
  Checker& checker_;
  Screen& screen_;
  const Scenario& scenario_;
  Random random_;
  std::vector<InstallationSecrets> pairings_;  ///< the newest last
  std::vector<PendingApproval> shown_;
  std::vector<PendingApproval> newest_;  ///< the last list that came from the agent
  std::vector<PendingApproval> everShown_;
  std::vector<Uuid> suppressed_;
  std::size_t decisions_ = 0;
  bool isHealthy_ = false;
  std::shared_ptr<const int> alive_ = std::make_shared<const int>(0);
};

}  // namespace tallyfox::sim
