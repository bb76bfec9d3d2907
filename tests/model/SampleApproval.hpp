#pragma once

#include <chrono>

#include "model/PendingApproval.hpp"

namespace tallyfox {

/// A complete record with every optional member present.
inline PendingApproval sampleApproval() {
  PendingApproval approval;
  approval.id = Uuid::parsed("E621E1F8-C36C-495A-93FC-0C247A3E6E5F").value();
  approval.suppressionID = Uuid::parsed("00000000-0000-4000-8000-000000000001").value();
  approval.detectedAt = parsedISO8601("2026-03-14T09:26:53Z").value();
  approval.appName = "Finder";
  approval.bundleIdentifier = "com.apple.finder";
  approval.processIdentifier = 412;
  approval.windowTitle = "Empty Trash";
  approval.windowRole = "AXWindow";
  approval.windowFrame = {120, 88, 420, 190};
  approval.messageLines = {"Are you sure?", "You can’t undo this."};
  approval.reason = "destructive confirmation";
  approval.buttons = {{"Cancel", "AXButton", 300, 240, 80, 24}, {"Empty Trash", "AXButton", 390, 240, 120, 24}};
  approval.recommendedButtonLabel = "Empty Trash";
  approval.requiresDirectAccess = true;
  approval.directAccessReason = "It asks for a password.";
  approval.isFallbackDetection = true;
  return approval;
}

}  // namespace tallyfox
