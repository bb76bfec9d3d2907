#include "platform/linux/LinuxExamination.hpp"

#include <utility>

#include "model/ControlAnswer.hpp"
#include "model/ControlRequest.hpp"
#include "platform/linux/ControlClient.hpp"
#include "platform/linux/DisplayExamination.hpp"
#include "platform/linux/NetworkErrors.hpp"
#include "platform/linux/RelayProbe.hpp"
#include "platform/linux/SecretServiceKeychain.hpp"
#include "platform/linux/SessionExamination.hpp"

namespace tallyfox::linux_os {
namespace {

using Clock = std::chrono::steady_clock;

/// For all questions together, from the moment that they are waited for: a bit longer than any of them gives itself.
constexpr std::chrono::seconds patience{5};
constexpr Seconds agentPatience{2};

template <typename Found>
DoctorAnswer<Found> orSilence(std::optional<DoctorAnswer<Found>> answer) {
  if (answer) return *std::move(answer);
  return std::unexpected("It does not answer.");
}

using RelayQuestion = AsideQuestion<DoctorFacts::RelayHost>;

RelayQuestion questionToRelay(const HttpRequest& request, const ProxySettings& proxies) {
  return {"relay", [request, proxies] { return probedRelay(request, proxies); }};
}

/// Also when a name look-up does not end.
DoctorFacts::RelayHost hostOf(const HttpRequest& request) {
  const auto address = NetworkAddress::parsed(request.url, "http", "https");
  return {
      .host = address ? address->hostHeader : "It", .isSecure = address && address->isSecure, .failure = timedOutText};
}

}  // namespace

ExaminedPlaces ExaminedPlaces::from(Environment& environment) {
  const bool isWayland =
      environment.value("XDG_SESSION_TYPE") == "wayland" || !environment.value("WAYLAND_DISPLAY").value_or("").empty();
  return {.display = environment.value("DISPLAY"),
          .isWaylandSession = isWayland,
          .sessionBusAddress = linux_os::sessionBusAddress(environment),
          .directories = UserDirectories::from(environment),
          .proxies = ProxySettings::from(environment)};
}

DoctorFacts::Agent examinedAgent(const UserDirectories& directories) {
  using State = DoctorFacts::Agent::State;
  auto client = ControlClient::connected(directories, agentPatience);
  if (!client) return {.state = client.error() == ControlFailure::noAgent ? State::none : State::silent};
  const auto line = client->ask(jsonText(ControlRequest{.command = ControlCommand::status}.json()));
  if (!line) return {.state = State::silent};
  DoctorFacts::Agent agent{.state = State::running};
  const auto value = parsedJson(*line);
  const auto answer = value ? ControlAnswer::decoded(*value) : std::unexpected(value.error());
  if (!answer || !answer->status) return agent;
  JsonObjectReader status(*answer->status);
  agent.version = status.optionalString("agentVersion").value_or("");
  agent.isRelayConfigured = status.optionalBoolean("relayConfigured").value_or(false);
  agent.isRelayConnected = status.optionalBoolean("relayConnected").value_or(false);
  return agent;
}

LinuxExamination::LinuxExamination(const ExaminedPlaces& places, const std::optional<HttpRequest>& health)
    : places_(places),
      accessibility_("switch", [bus = places.sessionBusAddress] { return examinedAccessibilitySwitch(bus); }),
      accessibilityBus_("bus", [bus = places.sessionBusAddress] { return examinedAccessibilityBus(bus); }),
      notifications_("notifications", [bus = places.sessionBusAddress] { return examinedNotifications(bus); }),
      statusNotifiers_("tray", [bus = places.sessionBusAddress] { return examinedStatusNotifiers(bus); }),
      display_("display", [display = places.display] { return examinedDisplay(display); }),
      agent_("agent", [directories = places.directories] { return examinedAgent(directories); }),
      health_(health) {
  if (health) relayHost_ = questionToRelay(*health, places.proxies);
}

void LinuxExamination::askRegistration(const HttpRequest& registration) {
  registration_ = questionToRelay(registration, places_.proxies);
}

DoctorFacts LinuxExamination::facts() {
  const auto deadline = Clock::now() + patience;
  DoctorFacts facts;
  facts.isWaylandSession = places_.isWaylandSession;
  facts.isAccessibilityOn = orSilence(accessibility_.answerBy(deadline));
  facts.accessibilityBus = orSilence(accessibilityBus_.answerBy(deadline));
  facts.notifications = orSilence(notifications_.answerBy(deadline));
  facts.statusNotifiers = orSilence(statusNotifiers_.answerBy(deadline));
  facts.display = orSilence(display_.answerBy(deadline));
  facts.agent = agent_.answerBy(deadline).value_or(DoctorFacts::Agent{.state = DoctorFacts::Agent::State::silent});
  if (relayHost_) facts.relayHost = relayHost_->answerBy(deadline).value_or(hostOf(*health_));
  if (registration_) {
    const auto answer = registration_->answerBy(deadline);
    if (!answer)
      facts.registration = std::unexpected(timedOutText);
    else if (answer->failure)
      facts.registration = std::unexpected(*answer->failure);
    else
      facts.registration = answer->status;
  }
  return facts;
}

}  // namespace tallyfox::linux_os
