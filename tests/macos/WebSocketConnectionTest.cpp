// Shows what an owner hears of a WebSocket, whatever order the system tells of its end in.

#include "platform/macos/WebSocketConnection.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Limits.hpp"

namespace tallyfox::mac_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Events = std::vector<std::string>;

/// What a connection asked of its wire, and its timers.
struct WireLog {
  struct Timer {
    Seconds due;
    std::function<void()> work;
  };
  Events calls;
  std::vector<Timer> timers;
  Seconds now{0};

  Events take() { return std::exchange(calls, {}); }

  void advance(Seconds duration) {
    const Seconds end = now + duration;
    while (true) {
      const auto next = std::ranges::min_element(timers, {}, &Timer::due);
      if (next == timers.end() || next->due > end) break;
      now = next->due;
      const auto work = std::move(next->work);
      timers.erase(next);
      work();
    }
    now = end;
  }
};

class FakeWire : public WebSocketWire {
 public:
  explicit FakeWire(std::shared_ptr<WireLog> log) : log_(std::move(log)) {}
  void connect() override { log_->calls.emplace_back("connect"); }
  void send(const std::string& text) override { log_->calls.push_back("send " + text); }
  void receive() override { log_->calls.emplace_back("receive"); }
  void ping() override { log_->calls.emplace_back("ping"); }
  void close(std::uint16_t code) override { log_->calls.push_back("close " + std::to_string(code)); }
  void drop() override { log_->calls.emplace_back("drop"); }
  void after(Seconds delay, std::function<void()> work) override {
    log_->timers.push_back({log_->now + delay, std::move(work)});
  }

 private:
  std::shared_ptr<WireLog> log_;
};

class WebSocketConnectionTest : public testing::Test {
 protected:
  void start() { connection->start(std::make_unique<FakeWire>(wire), Seconds{60}); }
  void open() {
    start();
    connection->opened();
    wire->take();
    heard();
  }
  void send(const std::string& text) {
    connection->send(text, [this, text](const auto& outcome) {
      note(outcome ? "sent " + text : "unsent: " + outcome.error().description);
    });
  }
  void receive() {
    connection->receive([this](const auto& frame) {
      if (!frame) failure = frame.error();
      note(frame ? "frame " + std::string(textOf(*frame)) : "no frame: " + frame.error().description);
    });
  }
  void note(const std::string& event) { log.push_back(event); }
  Events heard() { return std::exchange(log, {}); }

  Events log;
  TransportError failure;
  std::shared_ptr<WireLog> wire = std::make_shared<WireLog>();
  std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();
  std::shared_ptr<WebSocketConnection> connection = std::make_shared<WebSocketConnection>(
      WebSocketEvents{.onOpen = [this] { note("open"); }, .onClose = [this] { note("close"); }}, gate);
};

TEST_F(WebSocketConnectionTest, sendsAndReceivesNothingBeforeItIsOpen) {
  start();
  send("one");
  send("two");
  receive();
  EXPECT_THAT(wire->take(), ElementsAre("connect"));
  connection->opened();
  EXPECT_THAT(wire->take(), ElementsAre("receive", "send one"));
  EXPECT_THAT(heard(), ElementsAre("open"));
}

TEST_F(WebSocketConnectionTest, sendsOneFrameAfterTheOther) {
  open();
  send("one");
  send("two");
  EXPECT_THAT(wire->take(), ElementsAre("send one"));
  connection->sent();
  EXPECT_THAT(wire->take(), ElementsAre("send two"));
  connection->sent();
  EXPECT_THAT(heard(), ElementsAre("sent one", "sent two"));
}

TEST_F(WebSocketConnectionTest, refusesMoreThanMayWait) {
  open();
  send(std::string(limits::outgoingBytes, 'x'));
  heard();
  send("y");
  EXPECT_THAT(heard(), ElementsAre("unsent: Too much is waiting to be sent."));
}

TEST_F(WebSocketConnectionTest, readsOneFrameAheadOfItsOwner) {
  open();
  connection->received(copyOfBytes("one"));
  EXPECT_THAT(wire->take(), IsEmpty());
  receive();
  EXPECT_THAT(heard(), ElementsAre("frame one"));
  EXPECT_THAT(wire->take(), ElementsAre("receive"));
  receive();
  connection->received(copyOfBytes("two"));
  EXPECT_THAT(heard(), ElementsAre("frame two"));
  EXPECT_THAT(wire->take(), ElementsAre("receive"));
}

TEST_F(WebSocketConnectionTest, takesAFrameOfTheLargestSizeAndEndsOnALargerOne) {
  open();
  receive();
  connection->received(Bytes(limits::frameBytes));
  EXPECT_EQ(heard().size(), 1U);
  receive();
  connection->received(Bytes(limits::frameBytes + 1));
  EXPECT_THAT(heard(), ElementsAre("close", "no frame: A message exceeds the size limit."));
  EXPECT_THAT(wire->take(), ElementsAre("receive", "drop"));
}

TEST_F(WebSocketConnectionTest, failsCallsAloneWhenItCouldNotOpen) {
  start();
  receive();
  send("early");
  connection->ended({"Connection refused."});
  EXPECT_THAT(heard(), ElementsAre("unsent: Connection refused.", "no frame: Connection refused."));
  receive();
  EXPECT_THAT(heard(), ElementsAre("no frame: Connection refused."));
  EXPECT_THAT(wire->take(), ElementsAre("connect", "drop"));
}

TEST_F(WebSocketConnectionTest, failsEveryCallOfARefusedRequest) {
  connection->refuse({"The request is not valid."});
  receive();
  send("text");
  EXPECT_THAT(heard(), ElementsAre("no frame: The request is not valid.", "unsent: The request is not valid."));
}

TEST_F(WebSocketConnectionTest, givesUpOpeningWhenTheTimeIsOver) {
  start();
  receive();
  wire->advance(Seconds{59});
  EXPECT_THAT(heard(), IsEmpty());
  wire->advance(Seconds{1});
  EXPECT_THAT(heard(), ElementsAre("no frame: The connection timed out."));
  connection->opened();
  connection->ended({"late"});
  EXPECT_THAT(heard(), IsEmpty());
  EXPECT_THAT(wire->take(), ElementsAre("connect", "drop"));
}

TEST_F(WebSocketConnectionTest, tellsOfTheCloseOnceWithItsCode) {
  open();
  receive();
  connection->closed(4001);
  connection->failed({"late"});
  connection->ended({"late"});
  EXPECT_THAT(heard(), ElementsAre("close", "no frame: The other side closed the connection with code 4001."));
  EXPECT_EQ(failure.closeCode, 4001);
  EXPECT_THAT(wire->take(), ElementsAre("drop"));
}

TEST_F(WebSocketConnectionTest, passesOnNoCodeThatStandsForNone) {
  for (const std::uint16_t code : std::vector<std::uint16_t>{0, 1005, 1006, 1015}) {
    connection = std::make_shared<WebSocketConnection>(WebSocketEvents{}, gate);
    open();
    receive();
    connection->closed(code);
    EXPECT_THAT(heard(), ElementsAre("no frame: The other side closed the connection."));
    EXPECT_EQ(failure.closeCode, std::nullopt);
  }
}

TEST_F(WebSocketConnectionTest, waitsForTheReasonOfAFailedCall) {
  open();
  receive();
  connection->failed({"The connection was lost."});
  EXPECT_THAT(heard(), IsEmpty());
  connection->closed(1011);
  EXPECT_THAT(heard(), ElementsAre("close", "no frame: The other side closed the connection with code 1011."));
}

TEST_F(WebSocketConnectionTest, takesTheCodeThatComesWithAFailedCall) {
  open();
  receive();
  connection->failed({"The connection was lost."}, 1011);
  EXPECT_EQ(failure.closeCode, 1011);
  EXPECT_EQ(heard().size(), 2U);
}

TEST_F(WebSocketConnectionTest, prefersTheReasonOfTheCallToThatOfTheEnd) {
  open();
  receive();
  connection->failed({"A message exceeds the size limit."});
  connection->ended({"The connection was lost."});
  EXPECT_THAT(heard(), ElementsAre("close", "no frame: A message exceeds the size limit."));
}

TEST_F(WebSocketConnectionTest, endsAfterAFailedCallEvenIfTheSystemSaysNoMore) {
  open();
  receive();
  send("text");
  connection->failed({"The connection was lost."});
  wire->advance(Seconds{1});
  EXPECT_THAT(heard(), ElementsAre("close", "unsent: The connection was lost.", "no frame: The connection was lost."));
}

TEST_F(WebSocketConnectionTest, endsWithoutAFailedCall) {
  open();
  receive();
  connection->ended({"The connection was lost."});
  EXPECT_THAT(heard(), ElementsAre("close", "no frame: The connection was lost."));
}

TEST_F(WebSocketConnectionTest, givesTheFrameThatWaitsAfterTheEnd) {
  open();
  connection->received(copyOfBytes("last"));
  connection->closed(1000);
  heard();
  receive();
  receive();
  EXPECT_THAT(heard(), ElementsAre("frame last", "no frame: The other side closed the connection with code 1000."));
}

TEST_F(WebSocketConnectionTest, closesWithTheCodeOfTheFirstCancel) {
  open();
  receive();
  send("text");
  wire->take();
  connection->cancel(1001);
  connection->cancel(1000);
  EXPECT_THAT(wire->take(), ElementsAre("close 1001"));
  EXPECT_THAT(heard(), ElementsAre("unsent: The connection was cancelled.", "no frame: The connection was cancelled."));
  // Its own calls fail by it, with its own code: the close frame may still be on its way.
  connection->failed({"cancelled"}, 1001);
  EXPECT_THAT(wire->take(), IsEmpty());
  connection->closed(1001);
  EXPECT_THAT(heard(), ElementsAre("close"));
  EXPECT_THAT(wire->take(), ElementsAre("drop"));
  receive();
  EXPECT_THAT(heard(), ElementsAre("no frame: The connection was cancelled."));
}

TEST_F(WebSocketConnectionTest, readsOnWhileItWaitsForTheAnswerToItsClose) {
  open();
  connection->cancel(1001);
  wire->take();
  connection->received(copyOfBytes("late"));
  EXPECT_THAT(wire->take(), ElementsAre("receive"));
  receive();
  EXPECT_THAT(heard(), ElementsAre("no frame: The connection was cancelled."));
}

TEST_F(WebSocketConnectionTest, hangsUpOnAnOtherSideThatDoesNotAnswerTheClose) {
  open();
  connection->cancel(1001);
  wire->take();
  wire->advance(Seconds{5});
  EXPECT_THAT(wire->take(), ElementsAre("drop"));
  EXPECT_THAT(heard(), ElementsAre("close"));
}

TEST_F(WebSocketConnectionTest, dropsWhatIsCancelledBeforeItOpened) {
  start();
  receive();
  connection->cancel(1001);
  EXPECT_THAT(heard(), ElementsAre("no frame: The connection was cancelled."));
  EXPECT_THAT(wire->take(), ElementsAre("connect", "drop"));
}

TEST_F(WebSocketConnectionTest, dropsTheConnectionOfAnOwnerThatIsGone) {
  open();
  receive();
  gate->close();
  connection->abandon();
  EXPECT_THAT(wire->take(), ElementsAre("drop"));
  EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(WebSocketConnectionTest, letsTheCloseFrameOfAnOwnerThatIsGoneThrough) {
  open();
  connection->cancel(1001);
  gate->close();
  connection->abandon();
  const std::weak_ptr<WebSocketConnection> left = connection;
  connection.reset();
  EXPECT_THAT(wire->take(), ElementsAre("close 1001"));
  EXPECT_FALSE(left.expired());
  wire->advance(Seconds{5});
  EXPECT_THAT(wire->take(), ElementsAre("drop"));
  EXPECT_TRUE(left.expired());
}

TEST_F(WebSocketConnectionTest, noticesWithinAMinuteThatNobodyAnswers) {
  open();
  receive();
  wire->advance(Seconds{30});
  EXPECT_THAT(heard(), ElementsAre("close", "no frame: The connection was lost."));
}

TEST_F(WebSocketConnectionTest, staysOpenAsLongAsPingsAreAnswered) {
  open();
  for (int half = 0; half < 20; ++half) {
    connection->heard();
    wire->advance(Seconds{30});
    EXPECT_THAT(wire->take(), ElementsAre("ping"));
  }
  EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(WebSocketConnectionTest, blamesNobodyForAPingThatCannotBeAnswered) {
  open();
  connection->received(copyOfBytes("not taken"));
  wire->advance(Seconds{300});
  EXPECT_THAT(wire->take(), IsEmpty());
  EXPECT_THAT(heard(), IsEmpty());
  receive();
  wire->advance(Seconds{30});
  EXPECT_THAT(wire->take(), ElementsAre("receive", "ping"));
}

TEST_F(WebSocketConnectionTest, endsAfterASleepUnlessTheOtherSideIsHeardInFourSeconds) {
  open();
  wire->take();
  connection->demandProof();
  EXPECT_THAT(wire->take(), ElementsAre("ping"));
  wire->advance(Seconds(3.9));
  EXPECT_THAT(wire->take(), IsEmpty());
  wire->advance(Seconds(0.2));
  EXPECT_THAT(wire->take(), ElementsAre("drop"));
}

TEST_F(WebSocketConnectionTest, staysOpenAfterASleepWhenTheOtherSideAnswers) {
  open();
  connection->heard();
  wire->advance(Seconds(27));
  connection->demandProof();
  wire->advance(Seconds(2));
  connection->heard();
  wire->take();
  // The ping of the other check goes out meanwhile; that it is not answered yet is no sign of death.
  wire->advance(Seconds(2.5));
  EXPECT_THAT(wire->take(), ElementsAre("ping"));
}

TEST_F(WebSocketConnectionTest, survivesPongsThatComeTwiceOrLate) {
  open();
  connection->heard();
  connection->heard();
  connection->closed(1000);
  connection->heard();
  connection->sent();
  connection->received(copyOfBytes("late"));
  EXPECT_THAT(heard(), ElementsAre("close"));
}

}  // namespace
}  // namespace tallyfox::mac_os
