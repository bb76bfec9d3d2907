// How role numbers and states of all toolkits become the roles that the detector knows.

#include "platform/linux/AtspiRoles.hpp"

#include <gtest/gtest.h>

namespace tallyfox::linux_os {
namespace {

TEST(AtspiRoles, oneTableMapsNumbersToRoles) {
  struct Case {
    std::uint32_t number;
    std::string_view axRole;
    AtspiNature nature;
  };
  for (const Case& one : {Case{43, "AXButton", AtspiNature::button}, Case{29, "AXStaticText", AtspiNature::text},
                          Case{116, "AXStaticText", AtspiNature::text}, Case{63, "AXToolbar", AtspiNature::plain},
                          Case{65, "AXOutline", AtspiNature::plain}, Case{66, "AXOutline", AtspiNature::plain},
                          Case{38, "AXTabGroup", AtspiNature::plain}, Case{79, "AXTextField", AtspiNature::field},
                          Case{61, "AXTextField", AtspiNature::field}, Case{40, "AXTextField", AtspiNature::password},
                          Case{7, "AXCheckBox", AtspiNature::check}, Case{39, "AXGroup", AtspiNature::plain},
                          Case{73, "AXGroup", AtspiNature::textContainer}, Case{95, "AXWebArea", AtspiNature::plain}}) {
    EXPECT_EQ(roleInfo(one.number).axRole, one.axRole) << one.number;
    EXPECT_EQ(roleInfo(one.number).nature, one.nature) << one.number;
  }
}

TEST(AtspiRoles, framesDialogsAlertsAndChoosersCanBeWindows) {
  for (const std::uint32_t number : {atspi_role::frame, atspi_role::window, atspi_role::dialog, atspi_role::alert,
                                     atspi_role::fileChooser, std::uint32_t{9}, std::uint32_t{22}})
    EXPECT_TRUE(canBeWindow(roleInfo(number).nature)) << number;
  for (const std::uint32_t number : {std::uint32_t{64}, std::uint32_t{33}, std::uint32_t{28}, atspi_role::pushButton})
    EXPECT_FALSE(canBeWindow(roleInfo(number).nature)) << number;
  EXPECT_EQ(roleInfo(atspi_role::alert).nature, AtspiNature::dialog);
  EXPECT_EQ(roleInfo(atspi_role::dialog).nature, AtspiNature::dialog);
}

TEST(AtspiRoles, anUnknownNumberIsAnUnknownPlainRole) {
  for (const std::uint32_t number : {0U, 3U, 67U, 131U, 4'000'000'000U}) {
    EXPECT_EQ(roleInfo(number).axRole, "AXUnknown") << number;
    EXPECT_EQ(roleInfo(number).nature, AtspiNature::plain) << number;
  }
}

TEST(AtspiRoles, statesAreBitsByNumber) {
  const AtspiStates states = bit(AtspiState::showing) | bit(AtspiState::isDefault);
  EXPECT_TRUE(has(states, AtspiState::showing));
  EXPECT_TRUE(has(states, AtspiState::isDefault));
  EXPECT_FALSE(has(states, AtspiState::focused));
  EXPECT_EQ(bit(AtspiState::isDefault), AtspiStates{1} << 39U);
}

}  // namespace
}  // namespace tallyfox::linux_os
