#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.hpp"
#include "base/Json.hpp"
#include "base/Uuid.hpp"
#include "model/DialogButton.hpp"
#include "model/DialogFrame.hpp"

namespace tallyfox {

/// One approval dialog found on the screen. Field order is the JSON key order.
struct PendingApproval {
  Uuid id;             ///< identity as the phone sees it; from the detector: the dialog's fingerprint
  Uuid suppressionID;  ///< identity under which the user mutes this dialog
  Date detectedAt{};
  std::string appName;
  std::optional<std::string> bundleIdentifier;
  std::int32_t processIdentifier = 0;
  std::string windowTitle;
  std::string windowRole;  ///< AXWindow or AXSheet
  DialogFrame windowFrame;
  std::vector<std::string> messageLines;  ///< reading order
  std::string reason;
  std::vector<DialogButton> buttons;  ///< left to right
  std::optional<std::string> recommendedButtonLabel;
  bool requiresDirectAccess = false;
  std::optional<std::string> directAccessReason;
  bool isFallbackDetection = false;

  bool operator==(const PendingApproval&) const = default;

  [[nodiscard]] std::string displayTitle() const;
  [[nodiscard]] std::vector<std::string> buttonLabels() const;
  /// How well two records describe the same dialog: 1000 for the same id, 0 for different dialogs, else from 500 down
  /// to 1 by the distance in points between the centres of their windows.
  [[nodiscard]] double matchScore(const PendingApproval& other) const;

  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<PendingApproval, DecodingError> decoded(const Json& value);
};

/// A JSON array of approvals, as the sealed snapshot carries it.
[[nodiscard]] Json approvalsJson(const std::vector<PendingApproval>& approvals);
[[nodiscard]] std::expected<std::vector<PendingApproval>, DecodingError> decodedApprovals(const Json& value);

}  // namespace tallyfox

template <>
struct std::hash<tallyfox::PendingApproval> {
  std::size_t operator()(const tallyfox::PendingApproval& approval) const noexcept;
};
