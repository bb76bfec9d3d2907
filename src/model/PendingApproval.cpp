#include "model/PendingApproval.hpp"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "model/Hashing.hpp"

namespace tallyfox {
namespace {

std::set<std::string> labelSet(const PendingApproval& approval) {
  std::set<std::string> labels;
  for (const auto& button : approval.buttons)
    labels.insert(button.label);
  return labels;
}

/// The elements of the array member `key`, each decoded as a Record.
template <typename Record>
std::vector<Record> decodedElements(JsonObjectReader& reader, std::string_view key) {
  const Json& value = reader.member(key);
  std::vector<Record> records;
  if (!value.is_array()) {
    reader.fail({"A list of records is not an array."});
    return records;
  }
  for (const Json& element : value) {
    auto record = Record::decoded(element);
    if (!record) {
      reader.fail(std::move(record.error()));
      return records;
    }
    records.push_back(std::move(*record));
  }
  return records;
}

}  // namespace

std::string PendingApproval::displayTitle() const {
  return windowTitle.empty() ? appName + " needs attention" : appName + ": " + windowTitle;
}

std::vector<std::string> PendingApproval::buttonLabels() const {
  std::vector<std::string> labels;
  labels.reserve(buttons.size());
  for (const auto& button : buttons)
    labels.push_back(button.label);
  return labels;
}

double PendingApproval::matchScore(const PendingApproval& other) const {
  if (id == other.id) return 1000;
  if (processIdentifier != other.processIdentifier || bundleIdentifier != other.bundleIdentifier ||
      windowTitle != other.windowTitle || messageLines != other.messageLines || labelSet(*this) != labelSet(other))
    return 0;
  const double distance = std::hypot(windowFrame.centerX() - other.windowFrame.centerX(),
                                     windowFrame.centerY() - other.windowFrame.centerY());
  return std::max(1.0, 500 - distance);  // in this order also 1 when a centre lies beyond all numbers
}

Json PendingApproval::json() const {
  Json value = {{"id", id.text()},
                {"suppressionID", suppressionID.text()},
                {"detectedAt", formattedISO8601(detectedAt)},
                {"appName", appName}};
  if (bundleIdentifier) value["bundleIdentifier"] = *bundleIdentifier;
  value["processIdentifier"] = processIdentifier;
  value["windowTitle"] = windowTitle;
  value["windowRole"] = windowRole;
  value["windowFrame"] = windowFrame.json();
  value["messageLines"] = messageLines;
  value["reason"] = reason;
  value["buttons"] = Json::array();
  for (const auto& button : buttons)
    value["buttons"].push_back(button.json());
  if (recommendedButtonLabel) value["recommendedButtonLabel"] = *recommendedButtonLabel;
  value["requiresDirectAccess"] = requiresDirectAccess;
  if (directAccessReason) value["directAccessReason"] = *directAccessReason;
  value["isFallbackDetection"] = isFallbackDetection;
  return value;
}

std::expected<PendingApproval, DecodingError> PendingApproval::decoded(const Json& value) {
  JsonObjectReader reader(value);
  PendingApproval approval;
  approval.id = reader.uuid("id");
  approval.suppressionID = reader.optionalUuid("suppressionID").value_or(approval.id);
  approval.detectedAt = reader.date("detectedAt");
  approval.appName = reader.string("appName");
  approval.bundleIdentifier = reader.optionalString("bundleIdentifier");
  approval.processIdentifier = static_cast<std::int32_t>(reader.integer("processIdentifier", INT32_MIN, INT32_MAX));
  approval.windowTitle = reader.string("windowTitle");
  approval.windowRole = reader.string("windowRole");
  if (auto frame = DialogFrame::decoded(reader.member("windowFrame")))
    approval.windowFrame = *frame;
  else
    reader.fail(std::move(frame.error()));
  approval.messageLines = reader.strings("messageLines");
  approval.reason = reader.string("reason");
  approval.buttons = decodedElements<DialogButton>(reader, "buttons");
  approval.recommendedButtonLabel = reader.optionalString("recommendedButtonLabel");
  approval.requiresDirectAccess = reader.boolean("requiresDirectAccess");
  approval.directAccessReason = reader.optionalString("directAccessReason");
  approval.isFallbackDetection = reader.boolean("isFallbackDetection");
  return reader.finish(std::move(approval));
}

Json approvalsJson(const std::vector<PendingApproval>& approvals) {
  Json list = Json::array();
  for (const auto& approval : approvals)
    list.push_back(approval.json());
  return list;
}

std::expected<std::vector<PendingApproval>, DecodingError> decodedApprovals(const Json& value) {
  if (!value.is_array()) return std::unexpected(DecodingError{"The list of approvals is not an array."});
  std::vector<PendingApproval> approvals;
  for (const Json& element : value) {
    auto approval = PendingApproval::decoded(element);
    if (!approval) return std::unexpected(std::move(approval.error()));
    approvals.push_back(std::move(*approval));
  }
  return approvals;
}

}  // namespace tallyfox

std::size_t std::hash<tallyfox::PendingApproval>::operator()(const tallyfox::PendingApproval& approval) const noexcept {
  return tallyfox::combinedHash(
      approval.id, approval.suppressionID, approval.detectedAt.time_since_epoch().count(), approval.appName,
      approval.bundleIdentifier, approval.processIdentifier, approval.windowTitle, approval.windowRole,
      approval.windowFrame, approval.messageLines, approval.reason, approval.buttons, approval.recommendedButtonLabel,
      approval.requiresDirectAccess, approval.directAccessReason, approval.isFallbackDetection);
}
