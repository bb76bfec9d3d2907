// The locale of the process changes nothing in how settings are read from the environment.

#include "base/ForeignLocale.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

#include "app/AgentConfiguration.hpp"
#include "app/PositiveNumber.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

class SettingsUnderForeignLocale : public ForeignLocaleTest {
 protected:
  memory::MemoryEnvironment environment;
  AgentConfiguration configuration{environment};
};

TEST_F(SettingsUnderForeignLocale, haveDecimalPointsAndNoCommas) {
  EXPECT_EQ(positiveNumber("1234.5"), 1234.5);
  EXPECT_EQ(positiveNumber("0x1.8p1"), 3.0);
  EXPECT_EQ(positiveNumber("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(positiveNumber("0,5"), std::nullopt);
  EXPECT_EQ(positiveNumber("1.234,5"), std::nullopt);
}

TEST_F(SettingsUnderForeignLocale, readAsEver) {
  environment.set("TALLYFOX_EVENT_SCAN_DEBOUNCE_SECONDS", "0.25");
  environment.set("TALLYFOX_APPROVAL_STALE_GRACE_SECONDS", "9,5");
  environment.set("QUARRYSTONE_APPROVAL_STALE_GRACE_SECONDS", "9.5");
  EXPECT_EQ(configuration.eventScanDebounce(), Seconds(0.25));
  EXPECT_EQ(configuration.approvalStaleGrace(), Seconds(9.5));
}

}  // namespace
}  // namespace tallyfox
