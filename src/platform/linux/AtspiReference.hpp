#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tallyfox::linux_os {

/// Where every application's tree begins, in all toolkits.
inline constexpr std::string_view atspiRootPath = "/org/a11y/atspi/accessible/root";
inline constexpr std::string_view atspiNullPath = "/org/a11y/atspi/null";
inline constexpr const char* atspiRegistryName = "org.a11y.atspi.Registry";

/// An accessible object: the unique bus name of its connection and its path there. Children may live on another
/// connection than their parent, so the name is part of every reference.
struct AtspiReference {
  std::string busName;
  std::string path;

  [[nodiscard]] bool isNull() const { return busName.empty() || path.empty() || path == atspiNullPath; }
  [[nodiscard]] bool isApplicationRoot() const { return path == atspiRootPath; }
  auto operator<=>(const AtspiReference&) const = default;
};

}  // namespace tallyfox::linux_os

template <>
struct std::hash<tallyfox::linux_os::AtspiReference> {
  std::size_t operator()(const tallyfox::linux_os::AtspiReference& reference) const noexcept {
    const std::hash<std::string> ofText;
    return ofText(reference.busName) * 31 + ofText(reference.path);
  }
};
