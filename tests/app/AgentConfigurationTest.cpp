// Tuning values from the environment: the number grammar, the precedence of names, and the defaults.

#include "app/AgentConfiguration.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "app/PositiveNumber.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

struct NumberCase {
  std::string text;
  std::optional<double> value;
};

class PositiveNumber : public testing::TestWithParam<NumberCase> {};

TEST_P(PositiveNumber, isReadByTheGrammarOfStrtod) {
  EXPECT_EQ(positiveNumber(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Decimals, PositiveNumber,
                         testing::ValuesIn(std::vector<NumberCase>{{"60", 60.0},
                                                                   {"0.5", 0.5},
                                                                   {".5", 0.5},
                                                                   {"5.", 5.0},
                                                                   {"+5", 5.0},
                                                                   {"1e1", 10.0},
                                                                   {"1E+1", 10.0},
                                                                   {"2e-1", 0.2},
                                                                   {"007", 7.0},
                                                                   {"1e308", 1e308},
                                                                   {"4.9e-324", 4.9e-324},
                                                                   {"0.0000000001e10", 1.0}}));

INSTANTIATE_TEST_SUITE_P(Hexadecimals, PositiveNumber,
                         testing::ValuesIn(std::vector<NumberCase>{{"0x10", 16.0},
                                                                   {"0X1.8p3", 12.0},
                                                                   {"+0x.8", 0.5},
                                                                   {"0xAp-1", 5.0},
                                                                   {"0x1e", 30.0},
                                                                   {"0x1.P0", 1.0},
                                                                   {"0x1.fffffffffffffp1023", 0x1.fffffffffffffp1023},
                                                                   {"0x1.fffffffffffff8p1023", infinity},
                                                                   {"0x1.00000000000008p0", 1.0},
                                                                   {"0x1.00000000000018p0", 0x1.0000000000002p0},
                                                                   {"0x1p-1074", 0x1p-1074},
                                                                   {"0x0.0000000000001p52", 1.0},
                                                                   {"0x1p1024", infinity},
                                                                   {"0x1p-1200", std::nullopt}}));

INSTANTIATE_TEST_SUITE_P(Infinities, PositiveNumber,
                         testing::ValuesIn(std::vector<NumberCase>{{"inf", infinity},
                                                                   {"+INF", infinity},
                                                                   {"Infinity", infinity},
                                                                   {"1e999", infinity},
                                                                   {"1e99999999999999999999", infinity},
                                                                   {std::string(400, '9'), infinity}}));

INSTANTIATE_TEST_SUITE_P(NotPositive, PositiveNumber,
                         testing::ValuesIn(std::vector<NumberCase>{{"0", {}},
                                                                   {"-0", {}},
                                                                   {"0.0e5", {}},
                                                                   {"0x0", {}},
                                                                   {"-5", {}},
                                                                   {"-inf", {}},
                                                                   {"nan", {}},
                                                                   {"NaN(7)", {}},
                                                                   {"-nan", {}},
                                                                   {"1e-999", {}},
                                                                   {"0." + std::string(400, '0') + "1", {}}}));

INSTANTIATE_TEST_SUITE_P(Rejected, PositiveNumber,
                         testing::ValuesIn(std::vector<NumberCase>{{"", {}},
                                                                   {" 5", {}},
                                                                   {"\t5", {}},
                                                                   {"\n5", {}},
                                                                   {"\v5", {}},
                                                                   {"\f5", {}},
                                                                   {"\r5", {}},
                                                                   {std::string("\0"
                                                                                "5",
                                                                                2),
                                                                    {}},
                                                                   {"5 ", {}},
                                                                   {"5s", {}},
                                                                   {"abc", {}},
                                                                   {".", {}},
                                                                   {"+", {}},
                                                                   {"++5", {}},
                                                                   {"+-5", {}},
                                                                   {"e5", {}},
                                                                   {"5e", {}},
                                                                   {"5e+", {}},
                                                                   {"0x", {}},
                                                                   {"0x.", {}},
                                                                   {"0xp1", {}},
                                                                   {"0x1p", {}},
                                                                   {"0x1g", {}},
                                                                   {"x10", {}},
                                                                   {"1,5", {}},
                                                                   {"1.5.5", {}},
                                                                   {"infi", {}},
                                                                   {"infinityy", {}},
                                                                   {"1_000", {}},
                                                                   {"0b1", {}}}));

class AgentConfigurationTest : public testing::Test {
 protected:
  memory::MemoryEnvironment environment;
  AgentConfiguration configuration{environment};
};

TEST_F(AgentConfigurationTest, hasDefaultsWithoutAnyVariable) {
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(300));
  EXPECT_EQ(configuration.eventScanDebounce(), Seconds(0.35));
  EXPECT_EQ(configuration.approvalStaleGrace(), Seconds(8));
  EXPECT_EQ(configuration.visibleWindowOwnerPoll(), Seconds(2));
  EXPECT_FALSE(configuration.dialogDiagnostics());
}

TEST_F(AgentConfigurationTest, fallsThroughAnInvalidNewerName) {
  environment.set("TALLYFOX_SAFETY_SWEEP_INTERVAL_SECONDS", "abc");
  environment.set("QUARRYSTONE_SAFETY_SWEEP_INTERVAL_SECONDS", "60");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(60));
}

TEST_F(AgentConfigurationTest, readsTheOlderSpellingOfTheSweep) {
  environment.set("TALLYFOX_SCAN_INTERVAL_SECONDS", "30");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(30));
}

TEST_F(AgentConfigurationTest, prefersTheSweepsNamesInOrder) {
  environment.set("QUARRYSTONE_SCAN_INTERVAL_SECONDS", "4");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(4));
  environment.set("TALLYFOX_SCAN_INTERVAL_SECONDS", "3");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(3));
  environment.set("QUARRYSTONE_SAFETY_SWEEP_INTERVAL_SECONDS", "2");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(2));
  environment.set("TALLYFOX_SAFETY_SWEEP_INTERVAL_SECONDS", "1");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(1));
}

TEST_F(AgentConfigurationTest, treatsAnInvalidGraceAsUnset) {
  for (const char* text : {"0", " 5", "5s", "-1", "nan", ""}) {
    environment.set("TALLYFOX_APPROVAL_STALE_GRACE_SECONDS", text);
    EXPECT_EQ(configuration.approvalStaleGrace(), Seconds(8)) << text;
  }
  environment.set("TALLYFOX_APPROVAL_STALE_GRACE_SECONDS", "1e1");
  EXPECT_EQ(configuration.approvalStaleGrace(), Seconds(10));
}

TEST_F(AgentConfigurationTest, acceptsAnInfiniteInterval) {
  environment.set("TALLYFOX_SAFETY_SWEEP_INTERVAL_SECONDS", "inf");
  EXPECT_EQ(configuration.safetySweepInterval(), Seconds(infinity));
}

TEST_F(AgentConfigurationTest, readsEachSettingUnderBothPrefixes) {
  environment.set("QUARRYSTONE_EVENT_SCAN_DEBOUNCE_SECONDS", "1");
  environment.set("QUARRYSTONE_VISIBLE_WINDOW_OWNER_POLL_SECONDS", "5");
  environment.set("QUARRYSTONE_APPROVAL_STALE_GRACE_SECONDS", "6");
  EXPECT_EQ(configuration.eventScanDebounce(), Seconds(1));
  EXPECT_EQ(configuration.visibleWindowOwnerPoll(), Seconds(5));
  EXPECT_EQ(configuration.approvalStaleGrace(), Seconds(6));
  environment.set("TALLYFOX_EVENT_SCAN_DEBOUNCE_SECONDS", "0.1");
  EXPECT_EQ(configuration.eventScanDebounce(), Seconds(0.1));
}

TEST_F(AgentConfigurationTest, readsSwitchesInAnyCaseAndUntrimmed) {
  const std::vector<std::pair<std::string, std::optional<bool>>> cases = {
      {"1", true},   {"TRUE", true}, {"Yes", true}, {"0", false}, {"False", false},
      {"NO", false}, {"on", {}},     {" yes", {}},  {"yes ", {}}, {"", {}}};
  for (const auto& [text, value] : cases) {
    environment.set("SWITCH", text);
    EXPECT_EQ(configuration.booleanEnvironmentValue("SWITCH"), value) << text;
  }
  EXPECT_EQ(configuration.booleanEnvironmentValue("switch"), std::nullopt);
}

TEST_F(AgentConfigurationTest, turnsDiagnosticsOnByEitherName) {
  environment.set("TALLYFOX_DIALOG_DIAGNOSTICS", "YES");
  EXPECT_TRUE(configuration.dialogDiagnostics());
  environment.set("TALLYFOX_DIALOG_DIAGNOSTICS", "on");
  EXPECT_FALSE(configuration.dialogDiagnostics());
  environment.set("QUARRYSTONE_DIALOG_DIAGNOSTICS", "true");
  EXPECT_TRUE(configuration.dialogDiagnostics());
  environment.set("TALLYFOX_DIALOG_DIAGNOSTICS", "no");
  EXPECT_FALSE(configuration.dialogDiagnostics());
}

struct IntervalCase {
  const char* name;
  Seconds (AgentConfiguration::*interval)() const;
  Seconds fallback;
};

class AgentInterval : public AgentConfigurationTest, public testing::WithParamInterface<IntervalCase> {};

TEST_P(AgentInterval, prefersTheNewerNameAndSkipsWhatIsInvalid) {
  const auto& [name, interval, fallback] = GetParam();
  const auto now = [&] { return (configuration.*interval)(); };
  const std::string newer = std::string("TALLYFOX_") + name;
  const std::string older = std::string("QUARRYSTONE_") + name;
  EXPECT_EQ(now(), fallback);
  environment.set(older, "7.5");
  EXPECT_EQ(now(), Seconds(7.5));
  environment.set(newer, "1.25");
  EXPECT_EQ(now(), Seconds(1.25)) << "and read anew at every call";
  environment.set(newer, "0");
  EXPECT_EQ(now(), Seconds(7.5));
  environment.set(older, "-1");
  EXPECT_EQ(now(), fallback);
}

INSTANTIATE_TEST_SUITE_P(
    Each, AgentInterval,
    testing::Values(
        IntervalCase{"SAFETY_SWEEP_INTERVAL_SECONDS", &AgentConfiguration::safetySweepInterval, Seconds(300)},
        IntervalCase{"SCAN_INTERVAL_SECONDS", &AgentConfiguration::safetySweepInterval, Seconds(300)},
        IntervalCase{"EVENT_SCAN_DEBOUNCE_SECONDS", &AgentConfiguration::eventScanDebounce, Seconds(0.35)},
        IntervalCase{"APPROVAL_STALE_GRACE_SECONDS", &AgentConfiguration::approvalStaleGrace, Seconds(8)},
        IntervalCase{"VISIBLE_WINDOW_OWNER_POLL_SECONDS", &AgentConfiguration::visibleWindowOwnerPoll, Seconds(2)}),
    [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace tallyfox
