#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Json.hpp"
#include "detection/PromptReader.hpp"
#include "detection/WindowSources.hpp"
#include "model/DialogFrame.hpp"

namespace tallyfox {

/// What the detector saw of one window and why it took or left it. For diagnostics only; never sent.
struct WindowDebugSnapshot {
  std::string appName;
  std::optional<std::string> bundleIdentifier;
  std::int32_t processIdentifier = 0;
  std::string role;
  std::string subrole;
  std::string title;
  DialogFrame windowFrame;  ///< all zero when it cannot be read
  bool isModal = false;
  int promptScore = 0;
  bool accepted = false;
  std::optional<std::string> rejectionReason;
  std::vector<std::string> messageLines;
  std::vector<std::string> buttonLabels;

  bool operator==(const WindowDebugSnapshot&) const = default;

  [[nodiscard]] static WindowDebugSnapshot of(const WindowSource& source, const PromptContent& content);
  [[nodiscard]] Json json() const;
  /// "Tallyfox dialog diagnostic: " and the JSON with its keys sorted at every level.
  [[nodiscard]] std::string line() const;
};

}  // namespace tallyfox
