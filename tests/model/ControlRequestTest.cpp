// The commands to the running agent: their JSON form, their words, and what is refused, the version first.

#include "model/ControlRequest.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "model/ControlAnswer.hpp"

namespace tallyfox {
namespace {

using Length = NotificationPauseOption;

TEST(ControlRequest, writesEveryCommandAndReadsItBack) {
  const std::vector<std::pair<ControlRequest, std::string>> cases = {
      {{ControlCommand::status, Length::twoHours}, R"({"version":1,"command":"status"})"},
      {{ControlCommand::pause, Length::twoHours}, R"({"version":1,"command":"pause","length":"2h"})"},
      {{ControlCommand::pause, Length::fourHours}, R"({"version":1,"command":"pause","length":"4h"})"},
      {{ControlCommand::pause, Length::untilTomorrow}, R"({"version":1,"command":"pause","length":"tomorrow"})"},
      {{ControlCommand::pause, Length::indefinitely}, R"({"version":1,"command":"pause","length":"forever"})"},
      {{ControlCommand::resume, Length::twoHours}, R"({"version":1,"command":"resume"})"},
      {{ControlCommand::quit, Length::twoHours}, R"({"version":1,"command":"quit"})"},
  };
  for (const auto& [request, text] : cases) {
    EXPECT_EQ(jsonText(request.json()), text);
    EXPECT_EQ(ControlRequest::decoded(request.json()), request) << text;
  }
}

TEST(ControlRequest, saysWhatItRefuses) {
  const std::string otherVersion = "This agent takes commands of version 1, not 2.";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"[]", "The value is not an object."},
      {"7", "The value is not an object."},
      {"{}", "The member \"version\" is missing."},
      {R"({"command":"quit"})", "The member \"version\" is missing."},
      {R"({"version":"1","command":"quit"})", "The member \"version\" is not an integer in range."},
      {R"({"version":-1,"command":"quit"})", "The member \"version\" is not an integer in range."},
      {R"({"version":2,"command":"quit"})", otherVersion},
      {R"({"version":2,"command":"dance"})", otherVersion},
      {R"({"version":2})", otherVersion},
      {R"({"version":1})", "The member \"command\" is missing."},
      {R"({"version":1,"command":null})", "The member \"command\" is missing."},
      {R"({"version":1,"command":["quit"]})", "The member \"command\" is not a string."},
      {R"({"version":1,"command":"dance"})", "The agent does not know this command."},
      {R"({"version":1,"command":"Quit"})", "The agent does not know this command."},
      {R"({"version":1,"command":""})", "The agent does not know this command."},
      {R"({"version":1,"command":"pause"})", "The member \"length\" is missing."},
      {R"({"version":1,"command":"pause","length":2})", "The member \"length\" is not a string."},
      {R"({"version":1,"command":"pause","length":"3h"})", "The agent does not know this length of a pause."},
  };
  for (const auto& [text, description] : cases)
    EXPECT_EQ(ControlRequest::decoded(parsedJson(text).value()), std::unexpected(DecodingError{description})) << text;
}

TEST(ControlRequest, ignoresWhatItDoesNotList) {
  EXPECT_EQ(ControlRequest::decoded(parsedJson(R"({"more":{},"version":1.0,"command":"resume","length":3})").value()),
            (ControlRequest{ControlCommand::resume, Length::twoHours}));
}

TEST(ControlAnswer, isWrittenAndReadBack) {
  const ControlAnswer plain{.ok = true, .text = "Alerts: Active.", .status = std::nullopt};
  EXPECT_EQ(jsonText(plain.json()), R"({"version":1,"ok":true,"text":"Alerts: Active."})");
  const ControlAnswer full{.ok = true, .text = "a\nb", .status = Json{{"overall", "All OK"}}};
  EXPECT_EQ(jsonText(full.json()), R"({"version":1,"ok":true,"text":"a\nb","status":{"overall":"All OK"}})");
  for (const auto& answer : {plain, full, ControlAnswer{}})
    EXPECT_EQ(ControlAnswer::decoded(answer.json()), answer);
}

TEST(ControlAnswer, isReadFromAnAgentOfAnyVersion) {
  EXPECT_EQ(ControlAnswer::decoded(parsedJson(R"({"version":9,"ok":false,"text":"No.","reason":4})").value()),
            (ControlAnswer{.ok = false, .text = "No.", .status = std::nullopt}));
}

TEST(ControlAnswer, lacksNeitherOutcomeNorText) {
  for (const std::string text : {R"({"version":1,"ok":true})", R"({"version":1,"text":"x"})", R"({"ok":1,"text":"x"})",
                                 R"({"ok":true,"text":1})", "[]"})
    EXPECT_FALSE(ControlAnswer::decoded(parsedJson(text).value()).has_value()) << text;
}

}  // namespace
}  // namespace tallyfox
