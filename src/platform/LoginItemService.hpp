#pragma once

#include <expected>
#include <string>

namespace tallyfox {

enum class LoginItemServiceStatus {
  notRegistered,
  enabled,
  requiresApproval,  ///< registered, waiting for the owner to allow it in the system's settings
  notFound,          ///< the system cannot find this application
  unknown,           ///< an answer that this list does not know
};

/// The system's list of what starts at login, for this application alone. Main thread only; calls block briefly.
class LoginItemService {
 public:
  virtual ~LoginItemService() = default;
  /// Read anew at each call: the owner changes it in the system's settings.
  [[nodiscard]] virtual LoginItemServiceStatus status() = 0;
  /// Asks the system to start the application at login; afterwards the status is enabled or requiresApproval. No
  /// failure when it is registered already. On failure the system's own sentence for people, and nothing has changed.
  [[nodiscard]] virtual std::expected<void, std::string> registerItem() = 0;
};

}  // namespace tallyfox
