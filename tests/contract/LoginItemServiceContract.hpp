#pragma once

/// What every list of login items keeps to: looking changes nothing, and a registration is either there or explained.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, LoginItemServiceContract, TheBackend), where TheBackend is
/// default-constructible, not registered at first, and has
///   LoginItemService& service();
///   void refuseRegistration();   registering fails from now on

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/LoginItemService.hpp"

namespace tallyfox::contract {

template <typename Backend>
class LoginItemServiceContract : public testing::Test {
 protected:
  LoginItemService& service() { return backend.service(); }

  Backend backend;
};

inline auto isRegistered() {
  return testing::AnyOf(LoginItemServiceStatus::enabled, LoginItemServiceStatus::requiresApproval);
}

TYPED_TEST_SUITE_P(LoginItemServiceContract);

TYPED_TEST_P(LoginItemServiceContract, isNotRegisteredHoweverOftenItIsAsked) {
  EXPECT_EQ(this->service().status(), LoginItemServiceStatus::notRegistered);
  EXPECT_EQ(this->service().status(), LoginItemServiceStatus::notRegistered);
}

TYPED_TEST_P(LoginItemServiceContract, isEnabledOrWaitsForApprovalOnceRegistered) {
  EXPECT_TRUE(this->service().registerItem().has_value());
  EXPECT_THAT(this->service().status(), isRegistered());
}

TYPED_TEST_P(LoginItemServiceContract, takesASecondRegistrationForNoFailure) {
  EXPECT_TRUE(this->service().registerItem().has_value());
  EXPECT_TRUE(this->service().registerItem().has_value());
  EXPECT_THAT(this->service().status(), isRegistered());
}

TYPED_TEST_P(LoginItemServiceContract, saysWhyItDoesNotRegisterAndChangesNothing) {
  this->backend.refuseRegistration();
  const auto registered = this->service().registerItem();
  ASSERT_FALSE(registered.has_value());
  EXPECT_NE(registered.error(), "");
  EXPECT_EQ(this->service().status(), LoginItemServiceStatus::notRegistered);
}

REGISTER_TYPED_TEST_SUITE_P(LoginItemServiceContract, isNotRegisteredHoweverOftenItIsAsked,
                            isEnabledOrWaitsForApprovalOnceRegistered, takesASecondRegistrationForNoFailure,
                            saysWhyItDoesNotRegisterAndChangesNothing);

}  // namespace tallyfox::contract
