#pragma once

/// What every instance lock keeps to: one holder at a time, freed with its owner, and no lock without a file.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, InstanceLockContract, TheBackend), where TheBackend is
/// default-constructible and has
///   InstanceLock& first();    two agents of one user
///   InstanceLock& second();
///   void makeUnavailable();   from now on no lock file can be opened by first()

#include <gtest/gtest.h>

#include "platform/InstanceLock.hpp"

namespace tallyfox::contract {

template <typename Backend>
class InstanceLockContract : public testing::Test {
 protected:
  Backend backend;
};

TYPED_TEST_SUITE_P(InstanceLockContract);

TYPED_TEST_P(InstanceLockContract, givesTheLockToTheFirstAgentAlone) {
  const LockResult held = this->backend.first().acquire("contract.lock");
  EXPECT_EQ(held.outcome, LockOutcome::acquired);
  EXPECT_NE(held.lock, nullptr);
  const LockResult refused = this->backend.second().acquire("contract.lock");
  EXPECT_EQ(refused.outcome, LockOutcome::heldByAnother);
  EXPECT_EQ(refused.lock, nullptr);
}

TYPED_TEST_P(InstanceLockContract, refusesItsOwnHolderASecondTime) {
  const LockResult held = this->backend.first().acquire("contract.lock");
  EXPECT_EQ(this->backend.first().acquire("contract.lock").outcome, LockOutcome::heldByAnother);
  EXPECT_EQ(held.outcome, LockOutcome::acquired);
}

TYPED_TEST_P(InstanceLockContract, isFreeAgainAsSoonAsItsHolderGoes) {
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(this->backend.first().acquire("contract.lock").outcome, LockOutcome::acquired);
    EXPECT_EQ(this->backend.second().acquire("contract.lock").outcome, LockOutcome::acquired);
  }
}

TYPED_TEST_P(InstanceLockContract, isNotFreedByAnAttemptThatFailed) {
  const LockResult held = this->backend.first().acquire("contract.lock");
  EXPECT_EQ(this->backend.second().acquire("contract.lock").outcome, LockOutcome::heldByAnother);
  EXPECT_EQ(this->backend.second().acquire("contract.lock").outcome, LockOutcome::heldByAnother);
  EXPECT_EQ(held.outcome, LockOutcome::acquired);
}

TYPED_TEST_P(InstanceLockContract, keepsLocksOfDifferentNamesApart) {
  const LockResult one = this->backend.first().acquire("contract.lock");
  const LockResult other = this->backend.second().acquire("other.lock");
  EXPECT_EQ(one.outcome, LockOutcome::acquired);
  EXPECT_EQ(other.outcome, LockOutcome::acquired);
}

TYPED_TEST_P(InstanceLockContract, saysWhenTheFileCannotBeOpened) {
  this->backend.makeUnavailable();
  const LockResult result = this->backend.first().acquire("contract.lock");
  EXPECT_EQ(result.outcome, LockOutcome::unavailable);
  EXPECT_EQ(result.lock, nullptr);
}

REGISTER_TYPED_TEST_SUITE_P(InstanceLockContract, givesTheLockToTheFirstAgentAlone, refusesItsOwnHolderASecondTime,
                            isFreeAgainAsSoonAsItsHolderGoes, isNotFreedByAnAttemptThatFailed,
                            keepsLocksOfDifferentNamesApart, saysWhenTheFileCannotBeOpened);

}  // namespace tallyfox::contract
