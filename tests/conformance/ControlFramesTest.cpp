// Pings, pongs and closes: sections 5.5 and 7 of RFC 6455.
#include "ConformanceTest.hpp"

namespace tallyfox::server::conformance {
namespace {

using namespace std::string_literals;

class ControlFramesTest : public ConformanceTest {};

std::string closeFrame(unsigned code, std::string_view reason = "") {
  return controlFrame(opcode::close, closePayload(code, reason));
}

TEST_F(ControlFramesTest, answersPingsWithTheirPayload) {
  const std::string bytes("\0\xFF\xFE\x01", 4);
  expectAnswers({
      {"5.5.2", "no payload", controlFrame(opcode::ping) + goodbye(), "pong \n"s + farewell},
      {"5.5.2", "text", controlFrame(opcode::ping, "hello") + goodbye(), "pong hello\n"s + farewell},
      {"5.5.2", "any bytes", controlFrame(opcode::ping, bytes) + goodbye(), "pong " + bytes + "\n" + farewell},
      {"5.5.2", "125 bytes", controlFrame(opcode::ping, std::string(125, 'x')) + goodbye(),
       "pong " + std::string(125, 'x') + "\n" + farewell},
      {"5.5.2", "several",
       controlFrame(opcode::ping, "1") + controlFrame(opcode::ping, "2") + controlFrame(opcode::ping, "3") + goodbye(),
       "pong 1\npong 2\npong 3\n"s + farewell},
  });
  RawClient stranger = opened();
  stranger.sendByteByByte(controlFrame(opcode::ping, "before the hello"));
  EXPECT_EQ(stranger.next(), "pong before the hello");
}

TEST_F(ControlFramesTest, ignoresPongsThatNobodyAskedFor) {
  expectAnswers({
      {"5.5.3", "without payload", controlFrame(opcode::pong) + goodbye(), farewell},
      {"5.5.3", "with payload", controlFrame(opcode::pong, "hello") + textFrame(decision("R")) + goodbye(),
       undelivered("R") + "\n" + farewell},
      {"5.5.3", "several, and a ping",
       controlFrame(opcode::pong, "1") + controlFrame(opcode::pong, "2") + controlFrame(opcode::ping, "3") + goodbye(),
       "pong 3\n"s + farewell},
  });
}

// "When sending a Close frame in response, the endpoint typically echos the status code it received." One without a
// code is answered with 1000.
TEST_F(ControlFramesTest, answersACloseWithItsCode) {
  std::vector<Case> cases = {
      {"5.5.1", "no code", controlFrame(opcode::close), farewell},
      {"5.5.1", "a reason", closeFrame(1000, "done"), farewell},
      {"5.5.1", "the longest reason", closeFrame(1001, std::string(123, 'x')), "close 1001\nend\n"},
      {"5.5.1", "a reason in several bytes", closeFrame(1000, "\xE2\x82\xAC"), farewell},
  };
  for (const unsigned code :
       {1000U, 1001U, 1002U, 1003U, 1007U, 1008U, 1009U, 1010U, 1011U, 1012U, 1013U, 3000U, 3999U, 4000U, 4999U})
    cases.push_back({"7.4", "a code that may be sent", closeFrame(code), "close " + std::to_string(code) + "\nend\n"});
  expectAnswers(cases);
}

// Codes above 4999 belong to no range of section 7.4.2, which forbids none of them; they are echoed, and not tested.
TEST_F(ControlFramesTest, refusesAMalformedClose) {
  std::vector<Case> cases = {
      {"5.5.1", "one byte", controlFrame(opcode::close, "\x03"), "close 1002\nend\n"},
      {"5.5.1", "a reason that is no UTF-8", closeFrame(1000, "\xFF"), "close 1002\nend\n"},
      {"5.5.1", "a reason with a cut character", closeFrame(1000, "\xE2\x82"), "close 1002\nend\n"},
  };
  for (const unsigned code : {0U, 1U, 999U, 1004U, 1005U, 1006U, 1014U, 1015U, 1016U, 1100U, 2000U, 2999U})
    cases.push_back({"7.4", "a code that must not be sent", closeFrame(code), "close 1002\nend\n"});
  expectAnswers(cases);
}

TEST_F(ControlFramesTest, takesNothingAfterAClose) {
  expectAnswers({
      {"5.5.1", "a message", goodbye() + textFrame(decision("R")), farewell},
      {"5.5.1", "a ping", goodbye() + controlFrame(opcode::ping), farewell},
      {"5.5.1", "another close", goodbye() + closeFrame(1001), farewell},
      {"5.5.1", "a violation", goodbye() + RawFrame{.opcode = 3, .masked = false}.bytes(), farewell},
      {"5.5.1", "a lot", goodbye() + std::string(300'000, 'x'), farewell},
      {"7.1.7", "a lot after a violation", RawFrame{.opcode = 3}.bytes() + std::string(300'000, 'x'),
       "close 1002\nend\n"},
  });
}

// The relay closes first: what the phone still sends is thrown away, and its own close ends the connection.
TEST_F(ControlFramesTest, waitsForTheAnswerToItsOwnClose) {
  RawClient client = phone();
  client.send(textFrame("no JSON"));
  EXPECT_EQ(client.next(), "close 4400");
  client.send(textFrame(decision("too late")) + controlFrame(opcode::ping) + closeFrame(4400));
  EXPECT_EQ(client.rest(), "end\n");
  expectUndisturbed();
}

// Section 7.1.4: an abrupt end of one direction is an end.
TEST_F(ControlFramesTest, endsWithAHalfClosedConnection) {
  for (const std::string& begun : {""s, textFrame(decision("R")).substr(0, 1), textFrame(decision("R")).substr(0, 40),
                                   fragment(opcode::text, "{", false)}) {
    RawClient client = phone();
    client.send(begun);
    client.finishSending();
    EXPECT_EQ(client.rest(), "end\n") << begun.size();
    expectUndisturbed();
  }
  RawClient stranger = opened();
  stranger.finishSending();
  EXPECT_EQ(stranger.rest(), "end\n");
}

class ImpatientTest : public ConformanceTest {
 protected:
  ImpatientTest() : ConformanceTest(impatient()) {}
  static RelayLimits impatient() {
    RelayLimits limits = generous();
    limits.closeTime = std::chrono::milliseconds(150);
    return limits;
  }
};

// Section 7.1.1 lets a server close the connection at any time: whoever does not answer a close is cut.
TEST_F(ImpatientTest, cutsWhoDoesNotAnswerAClose) {
  RawClient client = phone();
  client.send(textFrame("no JSON"));
  EXPECT_EQ(client.next(), "close 4400");
  EXPECT_EQ(client.next(), "end");
  expectUndisturbed();
}

// Nor does a stream of other frames put the end off.
TEST_F(ImpatientTest, cutsWhoTalksOnAfterAClose) {
  RawClient client = phone();
  client.send(textFrame("no JSON"));
  EXPECT_EQ(client.next(), "close 4400");
  for (int index = 0; index < 1000; ++index)
    client.send(controlFrame(opcode::ping) + textFrame("{}"));
  const std::string end = client.rest();
  EXPECT_TRUE(end == "end\n" || end == "reset\n") << end;
  expectUndisturbed();
}

// Nor does silence after a violation keep the connection.
TEST_F(ImpatientTest, cutsWhoStaysAfterAViolation) {
  RawClient client = phone();
  client.send(RawFrame{.opcode = 3}.bytes());
  EXPECT_EQ(client.next(), "close 1002");
  EXPECT_EQ(client.next(), "end");
  client.send(std::string(1000, 'x'));
  expectUndisturbed();
}

}  // namespace
}  // namespace tallyfox::server::conformance
