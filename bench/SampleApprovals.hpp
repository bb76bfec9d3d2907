#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "model/PendingApproval.hpp"

namespace tallyfox {

/// Different dialogs of ordinary length, as a scan gives them.
[[nodiscard]] inline std::vector<PendingApproval> sampleApprovals(std::size_t count) {
  std::vector<PendingApproval> approvals(count);
  for (std::size_t number = 0; number < count; ++number) {
    PendingApproval& approval = approvals[number];
    approval.id = Uuid::random();
    approval.suppressionID = Uuid::random();
    approval.detectedAt = Date(std::chrono::seconds(1'770'000'000 + number));
    approval.appName = "Notes";
    approval.bundleIdentifier = "com.example.notes";
    approval.processIdentifier = static_cast<std::int32_t>(1000 + number);
    approval.windowTitle = "Notes " + std::to_string(number);
    approval.windowRole = "AXWindow";
    approval.windowFrame = {512, 300, 420, 180};
    approval.messageLines = {"“Notes” would like to access files in your Documents folder.",
                             "It needs them to show the attachments of note " + std::to_string(number) + "."};
    approval.reason = approval.messageLines[0] + "\n" + approval.messageLines[1];
    approval.buttons = {{"Don’t Allow", "AXButton", 520, 440, 100, 24}, {"Allow", "AXButton", 640, 440, 100, 24}};
    approval.recommendedButtonLabel = "Allow";
  }
  return approvals;
}

}  // namespace tallyfox
