#pragma once

/// What every environment keeps to: exact names, an empty value that is a value, and a time zone that can be
/// reckoned with.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, EnvironmentContract, TheBackend), where TheBackend is
/// default-constructible and has
///   Environment& environment();
///   void set(const std::string& name, const std::string& value);   undone when the backend goes
///   void unset(const std::string& name);
/// and, where systems differ,
///   void setTimeZone(const std::string& identifier);   likewise; absent where no test may change the system's

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "base/ZonedCalendar.hpp"
#include "platform/Environment.hpp"

namespace tallyfox::contract {

template <typename Backend>
class EnvironmentContract : public testing::Test {
 protected:
  Backend backend;
};

TYPED_TEST_SUITE_P(EnvironmentContract);

TYPED_TEST_P(EnvironmentContract, hasNoValueForANameNotSet) {
  this->backend.unset("TALLYFOX_CONTRACT");
  EXPECT_EQ(this->backend.environment().value("TALLYFOX_CONTRACT"), std::nullopt);
}

TYPED_TEST_P(EnvironmentContract, givesTheValueAsItIs) {
  this->backend.set("TALLYFOX_CONTRACT", "  Grüße = 1 ");
  EXPECT_EQ(this->backend.environment().value("TALLYFOX_CONTRACT"), "  Grüße = 1 ");
}

TYPED_TEST_P(EnvironmentContract, takesAnEmptyValueForAValue) {
  this->backend.set("TALLYFOX_CONTRACT", "");
  EXPECT_EQ(this->backend.environment().value("TALLYFOX_CONTRACT"), "");
}

TYPED_TEST_P(EnvironmentContract, tellsUpperFromLowerCase) {
  this->backend.set("TALLYFOX_CONTRACT", "upper");
  this->backend.unset("tallyfox_contract");
  EXPECT_EQ(this->backend.environment().value("tallyfox_contract"), std::nullopt);
}

TYPED_TEST_P(EnvironmentContract, namesItsTimeZoneOrGivesItsOffset) {
  const std::string identifier = this->backend.environment().timeZoneIdentifier();
  EXPECT_TRUE(ZonedCalendar::hasTimeZone(identifier) || identifier.starts_with("GMT")) << identifier;
}

TYPED_TEST_P(EnvironmentContract, noticesAnotherTimeZone) {
  if constexpr (requires { this->backend.setTimeZone(""); }) {
    for (const std::string zone : {"Europe/Berlin", "America/New_York"}) {
      this->backend.setTimeZone(zone);
      EXPECT_EQ(this->backend.environment().timeZoneIdentifier(), zone);
    }
  } else {
    GTEST_SKIP() << "No test may change the time zone of this system.";
  }
}

REGISTER_TYPED_TEST_SUITE_P(EnvironmentContract, hasNoValueForANameNotSet, givesTheValueAsItIs,
                            takesAnEmptyValueForAValue, tellsUpperFromLowerCase, namesItsTimeZoneOrGivesItsOffset,
                            noticesAnotherTimeZone);

}  // namespace tallyfox::contract
