// Frames as section 5 of RFC 6455 has them, legal and not.
#include "ConformanceTest.hpp"

namespace tallyfox::server::conformance {
namespace {

using LengthForm = RawFrame::LengthForm;

const std::string violation = "close 1002\nend\n";
const std::string malformed = "close 4400\nend\n";

/// A frame whose mistake is in its header.
std::string wrong(RawFrame frame) {
  if (frame.payload.empty()) frame.payload = "{}";
  return frame.bytes();
}

/// A decision whose text has exactly this many bytes.
std::string decisionOf(std::size_t bytes) {
  return decision("R", std::string(bytes - decision("R").size(), 'x'));
}

class FramingTest : public ConformanceTest {};

TEST_F(FramingTest, readsLengthsOfEveryForm) {
  const std::string answer = undelivered("R") + "\n" + farewell;
  const std::size_t least = decision("R").size();
  ASSERT_GT(least, 125U);
  expectAnswers({
      {"5.2", "16 bits", textFrame(decisionOf(least)) + goodbye(), answer},
      {"5.2", "255 bytes", textFrame(decisionOf(255)) + goodbye(), answer},
      {"5.2", "256 bytes", textFrame(decisionOf(256)) + goodbye(), answer},
      {"5.2", "32767 bytes", textFrame(decisionOf(32767)) + goodbye(), answer},
      {"5.2", "32768 bytes", textFrame(decisionOf(32768)) + goodbye(), answer},
      {"5.2", "65535 bytes, the most in 16 bits", textFrame(decisionOf(65535)) + goodbye(), answer},
      {"5.2", "65536 bytes, the least in 64 bits", textFrame(decisionOf(65536)) + goodbye(), answer},
      {"5.2", "7 bits: 1 byte is no JSON object", textFrame("1") + goodbye(), malformed},
      {"5.2", "7 bits: 125 bytes of an unknown type",
       textFrame(R"({"type":"x","padding":")" + std::string(100, 'x') + R"("})") + goodbye(), farewell},
      {"5.2", "no payload is no JSON", textFrame("") + goodbye(), malformed},
  });
}

// "The minimal number of bytes MUST be used", and "the most significant bit MUST be 0": the former is a violation, the
// latter announces more than may ever come and is refused as that.
TEST_F(FramingTest, refusesLengthsOfAWrongForm) {
  expectAnswers({
      {"5.2", "0 in 16 bits", RawFrame{.lengthForm = LengthForm::bits16}.bytes(), violation},
      {"5.2", "125 in 16 bits", RawFrame{.payload = std::string(125, ' '), .lengthForm = LengthForm::bits16}.bytes(),
       violation},
      {"5.2", "0 in 64 bits", RawFrame{.lengthForm = LengthForm::bits64}.bytes(), violation},
      {"5.2", "126 in 64 bits", RawFrame{.payload = std::string(126, ' '), .lengthForm = LengthForm::bits64}.bytes(),
       violation},
      {"5.2", "65535 in 64 bits",
       RawFrame{.payload = std::string(65535, ' '), .lengthForm = LengthForm::bits64}.bytes(), violation},
      {"5.2", "the top bit", RawFrame{.declaredLength = 0x8000000000000000}.bytes(), "close 1009\nend\n"},
      {"5.2", "all bits", RawFrame{.declaredLength = 0xFFFFFFFFFFFFFFFF}.bytes(), "close 1009\nend\n"},
      {"5.2", "all bits of a continuation",
       fragment(opcode::text, "{", false) +
           RawFrame{.opcode = opcode::continuation, .declaredLength = 0xFFFFFFFFFFFFFFFF}.bytes(),
       "close 1009\nend\n"},
  });
}

TEST_F(FramingTest, wantsEveryFrameMasked) {
  expectAnswers({
      {"5.1", "text", RawFrame{.payload = decision("R"), .masked = false}.bytes(), violation},
      {"5.1", "no payload", RawFrame{.masked = false}.bytes(), violation},
      {"5.1", "a ping", RawFrame{.opcode = opcode::ping, .masked = false}.bytes(), violation},
      {"5.1", "a pong", RawFrame{.opcode = opcode::pong, .masked = false}.bytes(), violation},
      {"5.1", "a close", RawFrame{.opcode = opcode::close, .payload = closePayload(1000), .masked = false}.bytes(),
       violation},
      {"5.1", "a continuation",
       fragment(opcode::text, "{", false) +
           RawFrame{.opcode = opcode::continuation, .payload = "}", .masked = false}.bytes(),
       violation},
  });
}

TEST_F(FramingTest, refusesReservedBitsAndOpcodes) {
  std::vector<Case> cases;
  for (unsigned reserved = 1; reserved < 8; ++reserved) {
    for (const unsigned kind : {opcode::text, opcode::binary, opcode::close, opcode::ping, opcode::pong})
      cases.push_back({"5.2", "reserved bits", wrong({.opcode = kind, .reserved = reserved}), violation});
    cases.push_back({"5.2", "reserved bits of a continuation",
                     fragment(opcode::text, "{", false) + wrong({.opcode = opcode::continuation, .reserved = reserved}),
                     violation});
  }
  for (const unsigned kind : {3U, 4U, 5U, 6U, 7U, 0xBU, 0xCU, 0xDU, 0xEU, 0xFU}) {
    cases.push_back({"5.2", "a reserved opcode", wrong({.opcode = kind}), violation});
    cases.push_back({"5.2", "a reserved opcode, a fragment", wrong({.opcode = kind, .fin = false}), violation});
  }
  cases.push_back({"5.2", "a reserved opcode after a good frame", textFrame(decision("R")) + wrong({.opcode = 3}),
                   undelivered("R") + "\n" + violation});
  expectAnswers(cases);
}

TEST_F(FramingTest, refusesControlFramesThatAreFragmentedOrLong) {
  std::vector<Case> cases;
  for (const unsigned kind : {opcode::close, opcode::ping, opcode::pong}) {
    cases.push_back({"5.5", "a fragment", RawFrame{.opcode = kind, .fin = false}.bytes(), violation});
    cases.push_back(
        {"5.5", "126 bytes", RawFrame{.opcode = kind, .payload = std::string(126, 'x')}.bytes(), violation});
    cases.push_back(
        {"5.5", "65536 bytes", RawFrame{.opcode = kind, .payload = std::string(65536, 'x')}.bytes(), violation});
    cases.push_back(
        {"5.5", "a length of 126 alone", RawFrame{.opcode = kind, .declaredLength = 126}.bytes(), violation});
    cases.push_back({"5.5", "5 bytes in 16 bits",
                     RawFrame{.opcode = kind, .payload = "12345", .lengthForm = LengthForm::bits16}.bytes(),
                     violation});
  }
  expectAnswers(cases);
}

TEST_F(FramingTest, joinsFragments) {
  const std::string text = decision("R");
  const std::string answer = undelivered("R") + "\n" + farewell;
  std::string single = fragment(opcode::text, text.substr(0, 1), false);
  for (std::size_t index = 1; index < text.size(); ++index)
    single += fragment(opcode::continuation, text.substr(index, 1), index + 1 == text.size());
  expectAnswers({
      {"5.4", "two",
       fragment(opcode::text, text.substr(0, 9), false) + fragment(opcode::continuation, text.substr(9), true) +
           goodbye(),
       answer},
      {"5.4", "of one byte each", single + goodbye(), answer},
      {"5.4", "an empty first",
       fragment(opcode::text, "", false) + fragment(opcode::continuation, text, true) + goodbye(), answer},
      {"5.4", "an empty last",
       fragment(opcode::text, text, false) + fragment(opcode::continuation, "", true) + goodbye(), answer},
      {"5.4", "empty ones between",
       fragment(opcode::text, text.substr(0, 9), false) + fragment(opcode::continuation, "", false) +
           fragment(opcode::continuation, "", false) + fragment(opcode::continuation, text.substr(9), true) + goodbye(),
       answer},
      {"5.4", "empty ones alone",
       fragment(opcode::text, "", false) + fragment(opcode::continuation, "", false) +
           fragment(opcode::continuation, "", true) + goodbye(),
       malformed},
  });
}

TEST_F(FramingTest, answersControlFramesBetweenFragments) {
  const std::string text = decision("R");
  const std::string first = fragment(opcode::text, text.substr(0, 9), false);
  const std::string last = fragment(opcode::continuation, text.substr(9), true);
  expectAnswers({
      {"5.4", "a ping", first + controlFrame(opcode::ping, "1") + last + goodbye(),
       "pong 1\n" + undelivered("R") + "\n" + farewell},
      {"5.4", "pings around an empty fragment",
       first + controlFrame(opcode::ping, "1") + fragment(opcode::continuation, "", false) +
           controlFrame(opcode::ping, "2") + last + goodbye(),
       "pong 1\npong 2\n" + undelivered("R") + "\n" + farewell},
      {"5.4", "a pong", first + controlFrame(opcode::pong, "1") + last + goodbye(), undelivered("R") + "\n" + farewell},
      {"5.5.1", "a close", first + controlFrame(opcode::close, closePayload(1000)) + last, farewell},
  });
}

TEST_F(FramingTest, refusesFragmentsOutOfOrder) {
  const std::string first = fragment(opcode::text, "{", false);
  expectAnswers({
      {"5.4", "a last continuation of nothing", fragment(opcode::continuation, decision("R"), true), violation},
      {"5.4", "a continuation of nothing", fragment(opcode::continuation, decision("R"), false), violation},
      {"5.4", "a continuation of a whole message", textFrame(decision("R")) + fragment(opcode::continuation, "", true),
       undelivered("R") + "\n" + violation},
      {"5.4", "a new text", first + textFrame(decision("R")), violation},
      {"5.4", "a new fragmented text", first + fragment(opcode::text, "{", false), violation},
      {"5.4", "a new binary", first + RawFrame{.opcode = opcode::binary}.bytes(), violation},
      {"5.4", "a new text after a continuation", first + fragment(opcode::continuation, "x", false) + textFrame("{}"),
       violation},
      {"5.4", "a new text after a ping", first + controlFrame(opcode::ping) + textFrame("{}"), "pong \n" + violation},
  });
}

// Messages are text. A binary one is malformed whatever it holds: a phone is closed, an agent is heard no further on
// it.
TEST_F(FramingTest, takesNoBinaryMessages) {
  expectAnswers({
      {"5.6", "a decision", RawFrame{.opcode = opcode::binary, .payload = decision("R")}.bytes(), malformed},
      {"5.6", "a decision in fragments",
       fragment(opcode::binary, decision("R").substr(0, 9), false) +
           fragment(opcode::continuation, decision("R").substr(9), true),
       malformed},
      {"5.6", "no UTF-8", RawFrame{.opcode = opcode::binary, .payload = "\xFF\xFE"}.bytes(), malformed},
      {"5.6", "nothing", RawFrame{.opcode = opcode::binary}.bytes(), malformed},
  });
  RawClient stranger = opened();
  stranger.send(
      RawFrame{.opcode = opcode::binary, .payload = testing::message::hello("P1", "token", "D2", "D2")}.bytes());
  EXPECT_EQ(stranger.rest(), malformed);

  RawClient watching = phone();
  RawClient sender = agent();
  EXPECT_EQ(watching.next(), testing::message::agentStatus(true));
  sender.send(RawFrame{.opcode = opcode::binary, .payload = testing::message::result("R1")}.bytes());
  sender.send(textFrame(testing::message::result("R2")));
  EXPECT_EQ(watching.next(), testing::message::result("R2"));
}

// A stream has no borders: a frame may be cut anywhere.
TEST_F(FramingTest, readsAFrameHoweverItIsCut) {
  RawClient client = phone();
  const std::string text = textFrame(decision("R"));
  for (std::size_t cut = 1; cut < text.size(); ++cut) {
    client.send(std::string_view(text).substr(0, cut));
    client.send(std::string_view(text).substr(cut));
    ASSERT_EQ(client.next(), undelivered("R")) << cut;
  }
  client.sendByteByByte(text + controlFrame(opcode::ping, "ping") + text);
  EXPECT_EQ(client.next(), undelivered("R"));
  EXPECT_EQ(client.next(), "pong ping");
  EXPECT_EQ(client.next(), undelivered("R"));
  client.sendByteByByte(fragment(opcode::text, decision("R").substr(0, 5), false) +
                        fragment(opcode::continuation, decision("R").substr(5), true) + goodbye());
  EXPECT_EQ(client.rest(), undelivered("R") + "\n" + farewell);
}

TEST_F(FramingTest, readsManyFramesOfOneSegment) {
  RawClient client = phone();
  std::string frames, answers;
  for (int index = 0; index < 100; ++index) {
    frames += textFrame(decision("R" + std::to_string(index)));
    answers += undelivered("R" + std::to_string(index)) + "\n";
  }
  client.send(frames + goodbye());
  EXPECT_EQ(client.rest(), answers + farewell);
}

}  // namespace
}  // namespace tallyfox::server::conformance
