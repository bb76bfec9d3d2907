#include "contract/macos/Permission.hpp"

#include <ApplicationServices/ApplicationServices.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string_view>

namespace tallyfox::contract {
namespace {

/// Touched by the tests' thread alone.
std::map<Permission, int>& skipped() {
  static std::map<Permission, int> counts;
  return counts;
}

std::string_view settingsPane(Permission permission) {
  return permission == Permission::accessibility ? "Accessibility" : "Screen Recording";
}

}  // namespace

bool isGranted(Permission permission) {
  return permission == Permission::accessibility ? ::AXIsProcessTrusted() != 0 : ::CGPreflightScreenCaptureAccess();
}

void skipWithout(Permission permission) {
  if (isGranted(permission)) return;
  const std::string reason =
      fmt::format("This process may not: the owner has not allowed it under {}.", settingsPane(permission));
  if (std::getenv("TALLYFOX_REQUIRE_PERMISSIONS") != nullptr) FAIL() << reason;
  ++skipped()[permission];
  GTEST_SKIP() << reason;
}

std::string permissionReport() {
  std::string report;
  for (const auto& [permission, count] : skipped())
    report += fmt::format(
        "NOT PROVED: {} tests were skipped for want of a permission. Allow the program that starts them under Privacy "
        "& Security, {}.\n",
        count, settingsPane(permission));
  return report;
}

}  // namespace tallyfox::contract
