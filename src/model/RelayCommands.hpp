#pragma once

#include <expected>
#include <optional>
#include <string>

#include "base/Date.hpp"
#include "base/Json.hpp"
#include "base/Uuid.hpp"

namespace tallyfox {

/// Press the button labelled `buttonLabel` of the pending approval `approvalID`. Travels sealed, phone to agent.
struct ApprovalRequestCommand {
  Uuid approvalID;
  std::string buttonLabel;

  bool operator==(const ApprovalRequestCommand&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ApprovalRequestCommand, DecodingError> decoded(const Json& value);
};

/// A request together with the identifier that its result must carry.
struct ApprovalRequestEnvelope {
  std::string decisionID;
  ApprovalRequestCommand command;
  std::optional<Date> issuedAt;

  bool operator==(const ApprovalRequestEnvelope&) const = default;
};

/// Mute or unmute a dialog. Travels sealed, phone to agent. `action` is "suppress" or "unsuppress"; any other is
/// ignored.
struct ApprovalSuppressionCommand {
  std::string action;
  std::optional<Uuid> approvalID;
  Uuid suppressionID;

  bool operator==(const ApprovalSuppressionCommand&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ApprovalSuppressionCommand, DecodingError> decoded(const Json& value);
};

/// The four values of ApprovalResultCommand::status.
namespace approval_status {
inline constexpr const char* accepted = "accepted";
inline constexpr const char* failed = "failed";
inline constexpr const char* notFound = "not_found";
inline constexpr const char* requiresDirectAccess = "requires_direct_access";
}  // namespace approval_status

/// What became of a request. Travels sealed, agent to phone. `error` is a sentence for people.
struct ApprovalResultCommand {
  Uuid approvalID;
  std::string buttonLabel;
  std::string status;
  std::optional<std::string> error;

  bool operator==(const ApprovalResultCommand&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ApprovalResultCommand, DecodingError> decoded(const Json& value);
};

}  // namespace tallyfox
