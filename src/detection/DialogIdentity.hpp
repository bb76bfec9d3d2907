#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Uuid.hpp"
#include "model/PendingApproval.hpp"

namespace tallyfox {

/// Deterministic identifiers from SHA-256. Pure; any thread.
class DialogIdentity {
 public:
  DialogIdentity() = delete;
  /// The first 16 digest bytes of the UTF-8 text, without version or variant bits.
  [[nodiscard]] static Uuid digestID(std::string_view text);
  /// The fingerprint of a dialog: changes with anything visible, its position included. `app` is the bundle identifier,
  /// else the application's name. Reads title, frame, message lines and buttons of the record.
  [[nodiscard]] static Uuid approvalID(const std::string& app, const PendingApproval& approval);
  /// Survives moves and re-ordered buttons.
  [[nodiscard]] static Uuid suppressionID(const std::string& app, const std::string& title,
                                          const std::vector<std::string>& messageLines,
                                          const std::vector<std::string>& buttonLabels);
};

}  // namespace tallyfox
