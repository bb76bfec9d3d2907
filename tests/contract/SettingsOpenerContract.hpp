#pragma once

/// What every opener of the system's settings keeps to: each address goes out as it is, once each time it is asked for.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, SettingsOpenerContract, TheBackend), where TheBackend is
/// default-constructible and has
///   SettingsOpener& settings();
///   std::vector<std::string> opened();   what the system was asked to open, in order

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/SettingsOpener.hpp"

namespace tallyfox::contract {

template <typename Backend>
class SettingsOpenerContract : public testing::Test {
 protected:
  Backend backend;
};

TYPED_TEST_SUITE_P(SettingsOpenerContract);

TYPED_TEST_P(SettingsOpenerContract, opensNothingUnasked) {
  EXPECT_TRUE(this->backend.opened().empty());
}

TYPED_TEST_P(SettingsOpenerContract, opensEveryAddressAsItIsEachTime) {
  const std::vector<std::string> addresses = {
      "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility",
      "x-apple.systempreferences:com.apple.LoginItems-Settings.extension",
      "x-apple.systempreferences:com.apple.LoginItems-Settings.extension"};
  for (const std::string& address : addresses)
    this->backend.settings().open(address);
  EXPECT_EQ(this->backend.opened(), addresses);
}

REGISTER_TYPED_TEST_SUITE_P(SettingsOpenerContract, opensNothingUnasked, opensEveryAddressAsItIsEachTime);

}  // namespace tallyfox::contract
