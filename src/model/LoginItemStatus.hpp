#pragma once

#include <string>
#include <variant>

namespace tallyfox {

/// The cases of LoginItemStatus.
namespace login_item {
struct Enabled {
  bool operator==(const Enabled&) const = default;
};
struct Disabled {
  bool operator==(const Disabled&) const = default;
};
/// Registered, but the owner has yet to allow it in the system's settings.
struct RequiresApproval {
  bool operator==(const RequiresApproval&) const = default;
};
struct Unavailable {
  std::string explanation;  ///< a sentence for people, shown as it is
  bool operator==(const Unavailable&) const = default;
};
}  // namespace login_item

/// Whether the application starts at login.
using LoginItemStatus =
    std::variant<login_item::Enabled, login_item::Disabled, login_item::RequiresApproval, login_item::Unavailable>;

}  // namespace tallyfox
