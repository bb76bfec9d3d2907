// How much one message may hold (section 10.4 of RFC 6455): the announcement of more is enough to be refused with 1009.
#include "ConformanceTest.hpp"

namespace tallyfox::server::conformance {
namespace {

constexpr std::uint64_t phoneBytes = 64 * 1024;
constexpr std::uint64_t agentBytes = 8 * 1024 * 1024;
const std::string tooLarge = "close 1009\nend\n";

std::string decisionOf(std::size_t bytes) {
  return decision("R", std::string(bytes - decision("R").size(), 'x'));
}

std::string resultOf(std::size_t bytes) {
  return testing::message::result("R", std::string(bytes - testing::message::result("R").size(), 'x'));
}

class FrameSizeTest : public ConformanceTest {};

TEST_F(FrameSizeTest, takesOfAPhoneWhatMayBeAndNoByteMore) {
  const std::string answer = undelivered("R") + "\n" + farewell;
  const std::string half(phoneBytes / 2, ' ');
  expectAnswers({
      {"10.4", "one byte less", textFrame(decisionOf(phoneBytes - 1)) + goodbye(), answer},
      {"10.4", "the most", textFrame(decisionOf(phoneBytes)) + goodbye(), answer},
      {"10.4", "one byte more", textFrame(decisionOf(phoneBytes + 1)) + goodbye(), tooLarge},
      {"10.4", "a megabyte", textFrame(decisionOf(1'000'000)) + goodbye(), tooLarge},
      {"10.4", "the most in fragments",
       fragment(opcode::text, decisionOf(phoneBytes - 1), false) + fragment(opcode::continuation, " ", true) +
           goodbye(),
       answer},
      {"10.4", "one byte more in fragments",
       fragment(opcode::text, decisionOf(phoneBytes - 1), false) + fragment(opcode::continuation, "  ", true),
       tooLarge},
      {"10.4", "the most in one message after another",
       textFrame(decisionOf(phoneBytes)) + textFrame(decisionOf(phoneBytes)) + goodbye(),
       undelivered("R") + "\n" + answer},
      {"10.4", "fragments without end",
       fragment(opcode::text, half, false) + fragment(opcode::continuation, half, false) +
           fragment(opcode::continuation, " ", false),
       tooLarge},
      {"10.4", "one byte more in a binary message",
       RawFrame{.opcode = opcode::binary, .payload = std::string(phoneBytes + 1, 'x')}.bytes(), tooLarge},
  });
}

TEST_F(FrameSizeTest, refusesAPhoneByTheHeaderAlone) {
  expectAnswers({
      {"10.4", "one byte more", RawFrame{.declaredLength = phoneBytes + 1}.bytes(), tooLarge},
      {"10.4", "gigabytes", RawFrame{.declaredLength = 1ULL << 40}.bytes(), tooLarge},
      {"10.4", "a continuation",
       fragment(opcode::text, "{", false) +
           RawFrame{.opcode = opcode::continuation, .declaredLength = phoneBytes}.bytes(),
       tooLarge},
      {"10.4", "a fragment", RawFrame{.fin = false, .declaredLength = phoneBytes + 1}.bytes(), tooLarge},
  });
}

TEST_F(FrameSizeTest, holdsAStrangerToThePhonesLimit) {
  RawClient stranger = opened();
  stranger.send(RawFrame{.declaredLength = phoneBytes + 1}.bytes());
  EXPECT_EQ(stranger.rest(), tooLarge);
  expectUndisturbed();
}

TEST_F(FrameSizeTest, takesOfAnAgentWhatMayBeAndNoByteMore) {
  RawClient watching = phone();
  for (const std::size_t size : {agentBytes - 1, agentBytes}) {
    RawClient sender = agent();
    EXPECT_EQ(watching.next(), testing::message::agentStatus(true));
    const std::string result = resultOf(size);
    sender.send(textFrame(result) + goodbye());
    EXPECT_TRUE(watching.next() == result) << size;
    EXPECT_EQ(watching.next(), testing::message::agentStatus(false));
    EXPECT_EQ(sender.rest(), farewell);
    expectUndisturbed();
  }
}

TEST_F(FrameSizeTest, refusesAnAgentByTheHeaderAlone) {
  for (const std::string& bytes :
       {RawFrame{.declaredLength = agentBytes + 1}.bytes(), textFrame(resultOf(agentBytes + 1))}) {
    RawClient sender = agent();
    sender.send(bytes);
    EXPECT_EQ(sender.rest(), tooLarge);
    expectUndisturbed();
  }
}

}  // namespace
}  // namespace tallyfox::server::conformance
