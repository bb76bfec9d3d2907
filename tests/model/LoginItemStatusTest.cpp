// The cases of the login item status, and when two are the same.

#include "model/LoginItemStatus.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace tallyfox {
namespace {

TEST(LoginItemStatus, isTheSameForTheSameCaseAndExplanationAlone) {
  const std::vector<LoginItemStatus> different = {login_item::Enabled{}, login_item::Disabled{},
                                                  login_item::RequiresApproval{}, login_item::Unavailable{"one"},
                                                  login_item::Unavailable{"another"}};
  for (std::size_t i = 0; i < different.size(); ++i)
    for (std::size_t j = 0; j < different.size(); ++j)
      EXPECT_EQ(different[i] == different[j], i == j) << i << " " << j;
}

}  // namespace
}  // namespace tallyfox
