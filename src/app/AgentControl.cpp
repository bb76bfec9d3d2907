#include "app/AgentControl.hpp"

#include <utility>

#include "base/Limits.hpp"
#include "ui/StatusOverview.hpp"
#include "ui/StatusTexts.hpp"

namespace tallyfox {
namespace {

std::string line(const ControlAnswer& answer) {
  return jsonText(answer.json());
}

std::expected<ControlRequest, DecodingError> parsedRequest(std::string_view text) {
  const auto value = parsedJson(text);
  if (!value) return std::unexpected(value.error());
  return ControlRequest::decoded(*value);
}

}  // namespace

std::string AgentControl::answer(std::string_view requestLine) {
  const auto request = parsedRequest(requestLine);
  if (!request) return line({.ok = false, .text = request.error().description, .status = std::nullopt});
  std::string answered = line(carriedOut(*request));
  if (answered.size() <= limits::controlAnswerBytes) return answered;
  return line({.ok = false, .text = "The answer is too long to be told.", .status = std::nullopt});
}

ControlAnswer AgentControl::carriedOut(const ControlRequest& request) {
  switch (request.command) {
    case ControlCommand::status:
      return status();
    case ControlCommand::show:
      dependencies_.agent.applicationShouldHandleReopen(false);
      return {.ok = true, .text = "Tallyfox shows its window.", .status = std::nullopt};
    case ControlCommand::pause:
      dependencies_.agent.pauseNotifications(request.pauseLength);
      return alerts();
    case ControlCommand::resume:
      dependencies_.agent.resumeNotifications();
      return alerts();
    case ControlCommand::quit:
      dependencies_.mainQueue.post([&agent = dependencies_.agent] { agent.quit(); });
      return {.ok = true, .text = "Tallyfox quits.", .status = std::nullopt};
  }
  return {};
}

ControlAnswer AgentControl::status() {
  const MacStatusSnapshot snapshot = dependencies_.agent.currentStatusSnapshot();
  Json json = statusJson(snapshot);
  json["agentVersion"] = dependencies_.version;
  return {.ok = true,
          .text = statusOverview(snapshot, dependencies_.clock.now(), dependencies_.environment.timeZoneIdentifier()),
          .status = std::move(json)};
}

ControlAnswer AgentControl::alerts() {
  const auto pause = dependencies_.agent.currentStatusSnapshot().notificationPause;
  const auto title = pauseTitle(pause, dependencies_.clock.now(), dependencies_.environment.timeZoneIdentifier());
  return {.ok = true, .text = "Alerts: " + title + ".", .status = std::nullopt};
}

}  // namespace tallyfox
