// Text is UTF-8 (section 8.1 of RFC 6455, by RFC 3629): what is not ends the connection with 1007, as early as it can
// be known.
#include "ConformanceTest.hpp"

namespace tallyfox::server::conformance {
namespace {

using namespace std::string_literals;

const std::string invalid = "close 1007\nend\n";

class Utf8Test : public ConformanceTest {};

struct Sequence {
  const char* what;
  std::string bytes;
};

std::vector<Sequence> validSequences() {
  return {{"letters", "abc"},
          {"two bytes", "\xC2\x80 \xDF\xBF"},
          {"three bytes", "\xE0\xA0\x80 \xEF\xBF\xBD"},
          {"four bytes", "\xF0\x90\x80\x80"},
          {"before the surrogates", "\xED\x9F\xBF"},
          {"after the surrogates", "\xEE\x80\x80"},
          {"the last code point", "\xF4\x8F\xBF\xBF"},
          {"no characters", "\xEF\xBF\xBE \xEF\xBF\xBF \xF0\x9F\xBF\xBE"},
          {"words", "\xCE\xBA\xE1\xBD\xB9\xCF\x83\xCE\xBC\xCE\xB5 \xF0\x9F\xA6\x8A"}};
}

/// Each cannot be completed by anything.
std::vector<Sequence> invalidSequences() {
  return {{"a continuation alone", "\x80"},
          {"another continuation alone", "\xBF"},
          {"an overlong slash in two bytes", "\xC0\xAF"},
          {"an overlong letter", "\xC1\xBF"},
          {"an overlong slash in three bytes", "\xE0\x80\xAF"},
          {"the greatest overlong of three bytes", "\xE0\x9F\xBF"},
          {"an overlong slash in four bytes", "\xF0\x80\x80\xAF"},
          {"the greatest overlong of four bytes", "\xF0\x8F\xBF\xBF"},
          {"an overlong NUL", "\xC0\x80"},
          {"the first surrogate", "\xED\xA0\x80"},
          {"the last surrogate", "\xED\xBF\xBF"},
          {"a pair of surrogates", "\xED\xA0\xBD\xED\xB8\x80"},
          {"beyond the last code point", "\xF4\x90\x80\x80"},
          {"far beyond the last code point", "\xF7\xBF\xBF\xBF"},
          {"five bytes", "\xF8\x88\x80\x80\x80"},
          {"six bytes", "\xFC\x84\x80\x80\x80\x80"},
          {"FE", "\xFE"},
          {"FF", "\xFF"},
          {"a letter within two bytes", "\xC3(\xA9"},
          {"a letter within three bytes", "\xE2\x82(\xAC"},
          {"a letter within four bytes", "\xF0\x9F(\xA6\x8A"},
          {"Latin-1", "caf\xE9 "}};
}

TEST_F(Utf8Test, keepsWhatIsValid) {
  for (const Sequence& sequence : validSequences()) {
    SCOPED_TRACE(sequence.what);
    const std::string text = decision(sequence.bytes);
    RawClient client = phone();
    client.send(textFrame(text));
    EXPECT_EQ(client.next(), undelivered(sequence.bytes));
    // However it is cut into fragments, also within a character.
    const std::size_t start = text.find(sequence.bytes);
    for (std::size_t cut = start; cut <= start + sequence.bytes.size(); ++cut) {
      client.send(fragment(opcode::text, text.substr(0, cut), false));
      client.send(controlFrame(opcode::ping, "between"));
      client.send(fragment(opcode::continuation, text.substr(cut), true));
      EXPECT_EQ(client.next(), "pong between");
      EXPECT_EQ(client.next(), undelivered(sequence.bytes)) << cut;
    }
    client.sendByteByByte(textFrame(text));
    EXPECT_EQ(client.next(), undelivered(sequence.bytes));
  }
  expectUndisturbed();
}

TEST_F(Utf8Test, refusesWhatIsInvalid) {
  std::vector<Case> cases;
  for (const Sequence& sequence : invalidSequences()) {
    const std::string text = decision("R" + sequence.bytes);
    const std::size_t cut = text.find(sequence.bytes) + sequence.bytes.size() / 2;
    cases.push_back({"8.1", sequence.what, textFrame(text), invalid});
    cases.push_back({"8.1", sequence.what, textFrame(sequence.bytes), invalid});
    cases.push_back(
        {"8.1", sequence.what,
         fragment(opcode::text, text.substr(0, cut), false) + fragment(opcode::continuation, text.substr(cut), true),
         invalid});
  }
  expectAnswers(cases);
}

TEST_F(Utf8Test, refusesACharacterCutByTheEndOfTheMessage) {
  std::vector<Case> cases;
  for (const std::string character : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\xA6\x8A"}) {
    for (std::size_t kept = 1; kept < character.size(); ++kept) {
      const std::string cut = "{" + character.substr(0, kept);
      cases.push_back({"8.1", "one frame", textFrame(cut), invalid});
      cases.push_back(
          {"8.1", "fragments",
           fragment(opcode::text, "{", false) + fragment(opcode::continuation, character.substr(0, kept), true),
           invalid});
      cases.push_back({"8.1", "an empty last fragment",
                       fragment(opcode::text, cut, false) + fragment(opcode::continuation, "", true), invalid});
    }
  }
  expectAnswers(cases);
}

// Nothing has to come after the bad bytes: neither the rest of the frame nor that of the message.
TEST_F(Utf8Test, refusesAtTheFirstBadByte) {
  std::vector<Case> cases;
  for (const Sequence& sequence : invalidSequences()) {
    const std::string begun = R"({"type":"approval.request","decisionID":")" + sequence.bytes;
    cases.push_back({"8.1", sequence.what, fragment(opcode::text, begun, false), invalid});
    cases.push_back({"8.1", sequence.what, RawFrame{.payload = begun, .declaredLength = 1000}.bytes(), invalid});
  }
  expectAnswers(cases);
}

// Between messages nothing is carried over, and what was good before is answered.
TEST_F(Utf8Test, startsAnewWithEveryMessage) {
  RawClient client = phone();
  client.send(textFrame(decision("\xC3\xA9")) + textFrame(decision("\xE2\x82\xAC")) + textFrame("\xA9"));
  EXPECT_EQ(client.rest(), undelivered("\xC3\xA9") + "\n" + undelivered("\xE2\x82\xAC") + "\n" + invalid);
}

}  // namespace
}  // namespace tallyfox::server::conformance
