#include "model/RelayCommands.hpp"

#include <utility>

namespace tallyfox {

Json ApprovalRequestCommand::json() const {
  return {{"approvalID", approvalID.text()}, {"buttonLabel", buttonLabel}};
}

std::expected<ApprovalRequestCommand, DecodingError> ApprovalRequestCommand::decoded(const Json& value) {
  JsonObjectReader reader(value);
  ApprovalRequestCommand command;
  command.approvalID = reader.uuid("approvalID");
  command.buttonLabel = reader.string("buttonLabel");
  return reader.finish(std::move(command));
}

Json ApprovalSuppressionCommand::json() const {
  Json value = {{"action", action}};
  if (approvalID) value["approvalID"] = approvalID->text();
  value["suppressionID"] = suppressionID.text();
  return value;
}

std::expected<ApprovalSuppressionCommand, DecodingError> ApprovalSuppressionCommand::decoded(const Json& value) {
  JsonObjectReader reader(value);
  ApprovalSuppressionCommand command;
  command.action = reader.string("action");
  command.approvalID = reader.optionalUuid("approvalID");
  command.suppressionID = reader.uuid("suppressionID");
  return reader.finish(std::move(command));
}

Json ApprovalResultCommand::json() const {
  Json value = {{"approvalID", approvalID.text()}, {"buttonLabel", buttonLabel}, {"status", status}};
  if (error) value["error"] = *error;
  return value;
}

std::expected<ApprovalResultCommand, DecodingError> ApprovalResultCommand::decoded(const Json& value) {
  JsonObjectReader reader(value);
  ApprovalResultCommand command;
  command.approvalID = reader.uuid("approvalID");
  command.buttonLabel = reader.string("buttonLabel");
  command.status = reader.string("status");
  command.error = reader.optionalString("error");
  return reader.finish(std::move(command));
}

}  // namespace tallyfox
