// The log: a sentence or an object an event, levels, and that nothing passed in can begin a line of its own, make one
// endless, or show more of an identifier than its beginning.
#include "RelayLog.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <concepts>

#include "Recorders.hpp"

namespace tallyfox::server {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace ip = boost::asio::ip;

constexpr LogEvent sample{LogLevel::warning, "sample.event", "{device} of {pairing} got {code}: {reason}."};
constexpr Date moment{std::chrono::microseconds(1'773'480'413'250'999)};

/// No text of unknown origin becomes a field that is printed at length.
template <typename Text>
concept Reasonable = requires(Text text) { LogField::reason(text); };
static_assert(!Reasonable<std::string> && !Reasonable<std::string_view> && !Reasonable<const char*>);
static_assert(Reasonable<DecodingError> && Reasonable<StorageError> && Reasonable<SettingsError>);
template <typename Text>
concept Doable = requires(Text text) { LogField::task(text); };
static_assert(!Doable<std::string> && !Doable<std::string_view>);

class RelayLogTest : public ::testing::Test {
 protected:
  RelayLog log(const LogSettings& settings) { return RelayLog(console, settings); }
  testing::RecordedConsole console;
};

TEST_F(RelayLogTest, fillsTheGapsOfASentence) {
  EXPECT_EQ(logSentence(sample, {LogField::pairing("P1"), LogField::device("D1"),
                                 LogField::code(CloseCode::unauthorized), LogField::reason(DecodingError{"Odd"})}),
            "D1 of P1 got 4401: Odd.");
  EXPECT_EQ(logSentence(sample, {LogField::pairing("P1")}), "- of P1 got -: -.");
  EXPECT_EQ(logSentence(log_event::stopping, {}), "Tallyfox relay stopping.");
}

TEST_F(RelayLogTest, writesAnObjectWithNumbersAsNumbers) {
  EXPECT_EQ(logObject(sample,
                      {LogField::pairing("P1"), LogField::code(CloseCode::unauthorized), LogField::status(429),
                       LogField::count(18'000'000'000)},
                      moment),
            R"({"time":"2026-03-14T09:26:53.250Z","level":"warning","event":"sample.event","pairing":"P1",)"
            R"("code":4401,"status":429,"count":18000000000})");
}

TEST_F(RelayLogTest, namesAClientAsLimitsCountIt) {
  const auto network = [](const char* address) {
    return std::get<std::string>(LogField::network(ip::make_address(address)).value());
  };
  EXPECT_EQ(network("192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(network("::ffff:192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(network("2001:db8:1:2:3:4:5:6"), "2001:db8:1:2::/64");
}

TEST_F(RelayLogTest, cutsIdentifiersAndBoundsEverythingElse) {
  EXPECT_EQ(std::get<std::string>(LogField::pairing("0123456789abcdef").value()), "0123456789ab");
  EXPECT_EQ(std::get<std::string>(LogField::device("0123456789abcdef").value()), "0123456789ab");
  const std::string endless(100'000, 'x');
  const RelayLog::Fields fields{LogField::pairing(endless), LogField::device(endless), LogField::setting(endless),
                                LogField::reason(DecodingError{endless})};
  EXPECT_LT(logSentence(sample, fields).size(), 1000U);
  EXPECT_LT(logObject(sample, fields, moment).size(), 1000U);
}

TEST_F(RelayLogTest, letsNoControlCharacterThrough) {
  const RelayLog::Fields fields{LogField::pairing("a\nb\x1b[2Jc\x7f"),
                                LogField::reason(DecodingError{"one\r\ntwo\xe2\x80\xae\xff \" \\"})};
  EXPECT_EQ(logSentence(sample, fields), "- of a?b?[2Jc? got -: one??two???? \" \\.");
  const auto object = parsedJson(logObject(sample, fields, moment));
  ASSERT_TRUE(object) << object.error().description;
  EXPECT_EQ((*object)["pairing"], "a?b?[2Jc?");
  EXPECT_EQ((*object)["reason"], "one??two???? \" \\");
}

TEST_F(RelayLogTest, leavesOutWhatIsBelowItsLevelUntilItIsToldOtherwise) {
  RelayLog quiet = log({.level = LogLevel::warning});
  quiet.write(log_event::stopping);
  quiet.write(log_event::requestRefused, {LogField::status(404)});
  EXPECT_EQ(console.text(), "");
  quiet.write(log_event::connectionFailed);
  quiet.configure({.level = LogLevel::debug});
  quiet.write(log_event::requestRefused, {LogField::status(404)});
  EXPECT_EQ(console.text(), "A connection failed unexpectedly.\nA request of - got 404.\n");
}

TEST_F(RelayLogTest, beginsTextLinesWithTheirPriorityWhenAskedTo) {
  RelayLog prioritised = log({.level = LogLevel::debug, .priorities = true});
  prioritised.write(log_event::connectionFailed);
  prioritised.write(sample);
  prioritised.write(log_event::stopping);
  prioritised.write(log_event::requestRefused);
  EXPECT_EQ(console.text(),
            "<3>A connection failed unexpectedly.\n<4>- of - got -: -.\n<6>Tallyfox relay stopping.\n"
            "<7>A request of - got -.\n");
}

TEST_F(RelayLogTest, writesTheTimeOfNow) {
  log({.format = LogFormat::json, .priorities = true}).write(log_event::stopping);
  const auto object = parsedJson(console.text());
  ASSERT_TRUE(object) << console.text();
  EXPECT_EQ((*object)["event"], "relay.stopping");
  const auto time = parsedISO8601((*object)["time"].get<std::string>());
  ASSERT_TRUE(time);
  EXPECT_LT(std::chrono::abs(*time - std::chrono::system_clock::now()), std::chrono::minutes(2));
}

}  // namespace
}  // namespace tallyfox::server
