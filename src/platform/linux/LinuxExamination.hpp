#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/DoctorFacts.hpp"
#include "platform/HttpClient.hpp"
#include "platform/linux/AsideQuestion.hpp"
#include "platform/linux/ProxySettings.hpp"
#include "platform/linux/UserDirectories.hpp"

namespace tallyfox::linux_os {

/// What is at hand for a look at this machine.
struct ExaminedPlaces {
  std::optional<std::string> display = {};
  bool isWaylandSession = false;
  std::string sessionBusAddress = {};  ///< empty for the user's own
  UserDirectories directories = {};
  ProxySettings proxies = {};

  [[nodiscard]] static ExaminedPlaces from(Environment& environment);
};

/// The version and the state of the agent that takes this user's commands.
[[nodiscard]] DoctorFacts::Agent examinedAgent(const UserDirectories& directories);

/// Asks everything at once and waits for all of it together, no longer than a few seconds. Changes nothing.
class LinuxExamination {
 public:
  /// `health` is the first question to the relay; without one there is no relay to ask.
  LinuxExamination(const ExaminedPlaces& places, const std::optional<HttpRequest>& health);

  /// The second one, which needs this computer's identity.
  void askRegistration(const HttpRequest& registration);
  /// What can be seen from here; the rest of the facts stays as it is made. Once.
  [[nodiscard]] DoctorFacts facts();

 private:
  ExaminedPlaces places_;
  AsideQuestion<DoctorAnswer<bool>> accessibility_;
  AsideQuestion<DoctorAnswer<void>> accessibilityBus_;
  AsideQuestion<DoctorAnswer<std::string>> notifications_;
  AsideQuestion<DoctorAnswer<bool>> statusNotifiers_;
  AsideQuestion<DoctorAnswer<DoctorFacts::Display>> display_;
  AsideQuestion<DoctorFacts::Agent> agent_;
  std::optional<HttpRequest> health_;
  std::optional<AsideQuestion<DoctorFacts::RelayHost>> relayHost_;
  std::optional<AsideQuestion<DoctorFacts::RelayHost>> registration_;
};

}  // namespace tallyfox::linux_os
