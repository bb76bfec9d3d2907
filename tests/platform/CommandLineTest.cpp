// The arguments of the program: what each form asks for, and one line for whatever is none.

#include "platform/linux/CommandLine.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace tallyfox::linux_os {
namespace {

using Arguments = std::vector<std::string>;
using Length = NotificationPauseOption;
using Purpose = CommandLine::Purpose;
using testing::HasSubstr;

TEST(CommandLine, isReadInEveryForm) {
  const std::vector<std::pair<Arguments, CommandLine>> cases = {
      {{}, {}},
      {{"--help"}, {Purpose::showHelp, {}, false}},
      {{"-h"}, {Purpose::showHelp, {}, false}},
      {{"pause", "--help"}, {Purpose::showHelp, {}, false}},
      {{"--version"}, {Purpose::showVersion, {}, false}},
      {{"status"}, {Purpose::askAgent, {ControlCommand::status, {}}, false}},
      {{"status", "--json"}, {Purpose::askAgent, {ControlCommand::status, {}}, true}},
      {{"pause"}, {Purpose::askAgent, {ControlCommand::pause, Length::twoHours}, false}},
      {{"pause", "2h"}, {Purpose::askAgent, {ControlCommand::pause, Length::twoHours}, false}},
      {{"pause", "4h"}, {Purpose::askAgent, {ControlCommand::pause, Length::fourHours}, false}},
      {{"pause", "tomorrow"}, {Purpose::askAgent, {ControlCommand::pause, Length::untilTomorrow}, false}},
      {{"pause", "forever"}, {Purpose::askAgent, {ControlCommand::pause, Length::indefinitely}, false}},
      {{"resume"}, {Purpose::askAgent, {ControlCommand::resume, {}}, false}},
      {{"doctor"}, {Purpose::examine, {}, false}},
      {{"doctor", "--json"}, {Purpose::examine, {}, true}},
      {{"quit"}, {Purpose::askAgent, {ControlCommand::quit, {}}, false}},
  };
  for (const auto& [arguments, expected] : cases)
    EXPECT_EQ(CommandLine::parsed(arguments), expected) << testing::PrintToString(arguments);
}

TEST(CommandLine, saysInOneLineWhatIsWrong) {
  const std::vector<std::pair<Arguments, std::string>> cases = {
      {{"--verbose"}, "There is no option \"--verbose\"."},
      {{"--json"}, "There is no option \"--json\"."},
      {{""}, "There is no command \"\"."},
      {{"stop"}, "There is no command \"stop\"."},
      {{"Pause"}, "There is no command \"Pause\"."},
      {{"pause", "3h"}, "A pause lasts 2h, 4h, until tomorrow or forever; there is no pause \"3h\"."},
      {{"pause", ""}, "A pause lasts 2h, 4h, until tomorrow or forever; there is no pause \"\"."},
      {{"pause", "--json"}, "There is no argument \"--json\" of this command."},
      {{"status", "json"}, "There is no argument \"json\" of this command."},
      {{"resume", "now"}, "There is no argument \"now\" of this command."},
      {{"quit", "--json"}, "There is no argument \"--json\" of this command."},
      {{"doctor", "json"}, "There is no argument \"json\" of this command."},
      {{"doctor", "--json", "all"}, "There is one argument too many: \"all\"."},
      {{"--version", "2"}, "There is one argument too many: \"2\"."},
      {{"status", "--json", "all"}, "There is one argument too many: \"all\"."},
  };
  for (const auto& [arguments, problem] : cases)
    EXPECT_EQ(CommandLine::parsed(arguments), std::unexpected(problem)) << testing::PrintToString(arguments);
}

TEST(CommandLine, explainsEveryCommandAndLength) {
  for (const std::string word : {"status ", "status --json ", "pause ", "resume ", "quit ", "doctor ", "doctor --json ",
                                 "--help ", "--version "})
    EXPECT_THAT(usageText(), HasSubstr("\n  " + word)) << "one line each";
  for (const std::string length : {"2h", "4h", "tomorrow", "forever"}) {
    EXPECT_THAT(usageText(), HasSubstr(length));
    EXPECT_TRUE(pauseLengthNamed(length).has_value());
  }
}

}  // namespace
}  // namespace tallyfox::linux_os
