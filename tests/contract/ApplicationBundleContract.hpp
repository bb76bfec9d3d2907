#pragma once

/// What every application bundle keeps to: plain absolute paths, and resources that are there, absent or unreadable.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, ApplicationBundleContract, TheBackend), where TheBackend
/// is default-constructible, without resources at first, and has
///   ApplicationBundle& bundle();
///   void putResource(const std::string& name, const std::map<std::string, std::string>& members);
///   void putBrokenResource(const std::string& name);   it is there but no property list

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/ApplicationBundle.hpp"

namespace tallyfox::contract {

template <typename Backend>
class ApplicationBundleContract : public testing::Test {
 protected:
  Backend backend;
};

TYPED_TEST_SUITE_P(ApplicationBundleContract);

TYPED_TEST_P(ApplicationBundleContract, givesAbsolutePathsWithoutATrailingSlash) {
  const auto isPlain = [](const std::string& path) { return path.starts_with('/') && !path.ends_with('/'); };
  EXPECT_TRUE(isPlain(this->backend.bundle().path()));
  EXPECT_FALSE(this->backend.bundle().applicationDirectories().empty());
  for (const std::string& directory : this->backend.bundle().applicationDirectories())
    EXPECT_TRUE(isPlain(directory)) << directory;
}

TYPED_TEST_P(ApplicationBundleContract, hasNoInformationUnderAStrangeKey) {
  EXPECT_EQ(this->backend.bundle().informationValue("ContractStrangeKey"), std::nullopt);
  EXPECT_EQ(this->backend.bundle().informationValue(""), std::nullopt);
}

TYPED_TEST_P(ApplicationBundleContract, hasNoPropertyListWithoutTheResource) {
  EXPECT_FALSE(this->backend.bundle().propertyList("Contract").has_value());
}

TYPED_TEST_P(ApplicationBundleContract, readsTheStringsOfAPropertyList) {
  const std::map<std::string, std::string> members = {{"RelayURL", "wss://relay.example/?a=1&b=<2>"}, {"Empty", ""}};
  this->backend.putResource("Contract", members);
  const auto list = this->backend.bundle().propertyList("Contract");
  ASSERT_TRUE(list.has_value());
  ASSERT_TRUE(list->has_value());
  EXPECT_EQ(**list, members);
  EXPECT_FALSE(this->backend.bundle().propertyList("contract").has_value());
}

TYPED_TEST_P(ApplicationBundleContract, saysWhyAPropertyListCannotBeRead) {
  this->backend.putBrokenResource("Contract");
  const auto list = this->backend.bundle().propertyList("Contract");
  ASSERT_TRUE(list.has_value());
  ASSERT_FALSE(list->has_value());
  EXPECT_NE(list->error(), "");
}

REGISTER_TYPED_TEST_SUITE_P(ApplicationBundleContract, givesAbsolutePathsWithoutATrailingSlash,
                            hasNoInformationUnderAStrangeKey, hasNoPropertyListWithoutTheResource,
                            readsTheStringsOfAPropertyList, saysWhyAPropertyListCannotBeRead);

}  // namespace tallyfox::contract
