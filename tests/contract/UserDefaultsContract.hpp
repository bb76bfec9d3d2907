#pragma once

/// What every preference store keeps to: values come back as they were set, of every type, also after a restart.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, UserDefaultsContract, TheBackend), where TheBackend is
/// default-constructible, empty at first, and has
///   UserDefaults& defaults();
///   void reopen();   as after a restart of the program: a new store over what was kept

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/UserDefaults.hpp"

namespace tallyfox::contract {

template <typename Backend>
class UserDefaultsContract : public testing::Test {
 protected:
  UserDefaults& defaults() { return backend.defaults(); }

  Backend backend;
};

inline std::vector<std::pair<std::string, DefaultsValue>> everyKindOfDefaultsValue() {
  const Date moment =
      std::chrono::sys_days{std::chrono::March / 14 / 2026} + std::chrono::hours{9} + std::chrono::microseconds{653589};
  return {{"true", true},
          {"false", false},
          {"whole number", 42.0},
          {"fraction", 0.1},
          {"negative", -1234567.875},
          {"large", 1e300},
          {"text", std::string("Grüße, 世界 \"quoted\"\n\tand more")},
          {"empty text", std::string()},
          {"text like a number", std::string("1.5")},
          {"list", std::vector<std::string>{"b", "a", "", "a"}},
          {"empty list", std::vector<std::string>{}},
          {"date", moment},
          {"date before 1970", Date{std::chrono::seconds{-1}}},
          {"bytes", Bytes{0, 255, 128, 10, 0}},
          {"empty bytes", Bytes{}}};
}

TYPED_TEST_SUITE_P(UserDefaultsContract);

TYPED_TEST_P(UserDefaultsContract, givesNothingForAKeyNeverSet) {
  EXPECT_EQ(this->defaults().object("tallyfox.never-set"), std::nullopt);
}

TYPED_TEST_P(UserDefaultsContract, givesBackEveryKindOfValueUnchanged) {
  for (const auto& [key, value] : everyKindOfDefaultsValue())
    this->defaults().setObject(key, value);
  for (const auto& [key, value] : everyKindOfDefaultsValue())
    EXPECT_EQ(this->defaults().object(key), value) << key;
}

TYPED_TEST_P(UserDefaultsContract, keepsEveryKindOfValueOverARestart) {
  for (const auto& [key, value] : everyKindOfDefaultsValue())
    this->defaults().setObject(key, value);
  this->backend.reopen();
  for (const auto& [key, value] : everyKindOfDefaultsValue())
    EXPECT_EQ(this->defaults().object(key), value) << key;
}

TYPED_TEST_P(UserDefaultsContract, replacesAValueByOneOfAnotherKind) {
  this->defaults().setObject("key", true);
  this->defaults().setObject("key", std::string("text"));
  EXPECT_EQ(this->defaults().object("key"), DefaultsValue(std::string("text")));
  this->backend.reopen();
  EXPECT_EQ(this->defaults().object("key"), DefaultsValue(std::string("text")));
}

TYPED_TEST_P(UserDefaultsContract, forgetsARemovedKeyForGood) {
  this->defaults().setObject("kept", 1.0);
  this->defaults().setObject("removed", 2.0);
  this->defaults().removeObject("removed");
  EXPECT_EQ(this->defaults().object("removed"), std::nullopt);
  this->backend.reopen();
  EXPECT_EQ(this->defaults().object("removed"), std::nullopt);
  EXPECT_EQ(this->defaults().object("kept"), DefaultsValue(1.0));
}

TYPED_TEST_P(UserDefaultsContract, takesTheRemovalOfAKeyNeverSet) {
  this->defaults().setObject("kept", 1.0);
  this->defaults().removeObject("never set");
  EXPECT_EQ(this->defaults().object("kept"), DefaultsValue(1.0));
}

TYPED_TEST_P(UserDefaultsContract, tellsKeysApartByEveryCharacter) {
  this->defaults().setObject("tallyfox.key", 1.0);
  this->defaults().setObject("tallyfox.Key", 2.0);
  this->defaults().setObject("tallyfox.key ", 3.0);
  EXPECT_EQ(this->defaults().object("tallyfox.key"), DefaultsValue(1.0));
  EXPECT_EQ(this->defaults().object("tallyfox.Key"), DefaultsValue(2.0));
  EXPECT_EQ(this->defaults().object("tallyfox.key "), DefaultsValue(3.0));
}

REGISTER_TYPED_TEST_SUITE_P(UserDefaultsContract, givesNothingForAKeyNeverSet, givesBackEveryKindOfValueUnchanged,
                            keepsEveryKindOfValueOverARestart, replacesAValueByOneOfAnotherKind,
                            forgetsARemovedKeyForGood, takesTheRemovalOfAKeyNeverSet, tellsKeysApartByEveryCharacter);

}  // namespace tallyfox::contract
