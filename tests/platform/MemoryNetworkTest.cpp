// Shows the far side of the network in memory: sockets opened, refused, dropped and held back by the test.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::memory {
namespace {

class MemoryNetworkTest : public testing::Test {
 protected:
  std::unique_ptr<WebSocketTask> start() {
    return network.webSockets().start({.url = "ws://relay", .headers = {}, .timeout = Seconds{60}},
                                      {.onOpen = [this] { note("open"); }, .onClose = [this] { note("close"); }});
  }
  void send(WebSocketTask& task, const std::string& text) {
    task.send(text, [this](const auto& outcome) { note(outcome ? "sent" : outcome.error().description); });
  }
  void receive(WebSocketTask& task) {
    task.receive([this](const auto& frame) {
      note(frame ? "frame " + std::string(textOf(*frame)) : frame.error().description);
    });
  }
  std::vector<std::string> events() {
    time.runDue();
    return std::exchange(log, {});
  }
  void note(const std::string& event) {
    EXPECT_TRUE(queue->isCurrent());
    log.push_back(event);
  }

  VirtualTime time;
  std::shared_ptr<SerialQueue> queue = time.makeQueue("transport");
  MemoryNetwork network{queue};
  std::vector<std::string> log;
};

using Events = std::vector<std::string>;

TEST_F(MemoryNetworkTest, leavesANewSocketConnecting) {
  const auto task = start();
  receive(*task);
  EXPECT_EQ(events(), Events{});
  ASSERT_EQ(network.sockets().size(), 1U);
  EXPECT_EQ(network.sockets()[0].request.url, "ws://relay");
  EXPECT_FALSE(network.sockets()[0].isOpen);
}

TEST_F(MemoryNetworkTest, tellsOfAnOpenInATaskOfItsQueue) {
  const auto task = start();
  network.open(0);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(events(), Events{"open"});
  network.open(0);
  EXPECT_EQ(events(), Events{});
}

TEST_F(MemoryNetworkTest, numbersSocketsInTheOrderStarted) {
  const auto first = start();
  const auto second = start();
  network.open(1);
  EXPECT_FALSE(network.sockets()[0].isOpen);
  EXPECT_TRUE(network.sockets()[1].isOpen);
  EXPECT_EQ(network.sockets()[1].number, 1U);
}

TEST_F(MemoryNetworkTest, refusesWithTheReasonGiven) {
  const auto task = start();
  receive(*task);
  send(*task, "early");
  network.refuse(0, "No route.");
  EXPECT_EQ(events(), (Events{"No route.", "No route."}));
  EXPECT_TRUE(network.sockets()[0].sent.empty());
}

TEST_F(MemoryNetworkTest, givesUpAConnectionAfterItsTimeout) {
  const auto task = start();
  receive(*task);
  time.advance(Seconds{59.9});
  EXPECT_EQ(events(), Events{});
  time.advance(Seconds{0.1});
  EXPECT_EQ(events(), Events{"The request timed out."});
}

TEST_F(MemoryNetworkTest, failsSendsWhileTold) {
  const auto task = start();
  network.open(0);
  network.failSends(0, true);
  send(*task, "lost");
  network.failSends(0, false);
  send(*task, "kept");
  EXPECT_EQ(events(), (Events{"open", "The message could not be sent.", "sent"}));
  EXPECT_EQ(network.sockets()[0].sent, Events{"kept"});
}

TEST_F(MemoryNetworkTest, answersHeldSendsWhenReleased) {
  const auto task = start();
  network.open(0);
  network.holdSends(0, true);
  send(*task, "held");
  EXPECT_EQ(events(), Events{"open"});
  EXPECT_EQ(network.sockets()[0].sent, Events{"held"});
  network.holdSends(0, false);
  EXPECT_EQ(events(), Events{"sent"});
}

TEST_F(MemoryNetworkTest, failsHeldSendsWhenTheConnectionEnds) {
  const auto task = start();
  network.open(0);
  network.holdSends(0, true);
  send(*task, "held");
  static_cast<void>(events());
  network.close(0);
  EXPECT_EQ(events(), (Events{"close", "The connection was closed."}));
}

TEST_F(MemoryNetworkTest, tellsOfTheCloseBeforeTheFailedReceive) {
  const auto task = start();
  network.open(0);
  receive(*task);
  network.close(0);
  EXPECT_EQ(events(), (Events{"open", "close", "The connection was closed."}));
  EXPECT_FALSE(network.sockets()[0].isOpen);
  EXPECT_FALSE(network.sockets()[0].isCancelled);
}

TEST_F(MemoryNetworkTest, givesFramesThatCameBeforeTheClose) {
  const auto task = start();
  network.open(0);
  network.deliver(0, "last words");
  network.close(0);
  static_cast<void>(events());
  receive(*task);
  receive(*task);
  EXPECT_EQ(events(), (Events{"frame last words", "The connection was closed."}));
}

TEST_F(MemoryNetworkTest, showsACancelWithItsCode) {
  const auto task = start();
  network.open(0);
  task->cancel(1001);
  EXPECT_TRUE(network.sockets()[0].isCancelled);
  EXPECT_EQ(network.sockets()[0].closeCode, 1001);
  EXPECT_EQ(events(), (Events{"open", "close"}));
}

TEST_F(MemoryNetworkTest, showsADroppedTaskAsCancelledWithoutACode) {
  auto task = start();
  network.open(0);
  receive(*task);
  task.reset();
  EXPECT_EQ(events(), Events{});
  EXPECT_TRUE(network.sockets()[0].isCancelled);
  EXPECT_FALSE(network.sockets()[0].isOpen);
  EXPECT_EQ(network.sockets()[0].closeCode, std::nullopt);
}

TEST_F(MemoryNetworkTest, answersRequestsWhenTold) {
  std::vector<int> statuses;
  const auto completion = [&](const auto& response) { statuses.push_back(response ? response->status : -1); };
  const auto first =
      network.http().send({.method = "PUT", .url = "http://relay", .headers = {}, .body = {}}, completion);
  const auto second =
      network.http().send({.method = "PUT", .url = "http://relay", .headers = {}, .body = {}}, completion);
  network.answer(1, HttpResponse{204});
  network.answer(1, HttpResponse{500});
  time.runDue();
  EXPECT_EQ(statuses, std::vector<int>{204});
  EXPECT_FALSE(network.requests()[0].isAnswered);
  EXPECT_TRUE(network.requests()[1].isAnswered);
}

TEST_F(MemoryNetworkTest, answersEveryLaterRequestByTheStandingAnswer) {
  std::vector<int> statuses;
  const auto completion = [&](const auto& response) { statuses.push_back(response ? response->status : -1); };
  network.answerAll(HttpResponse{410});
  const auto first =
      network.http().send({.method = "PUT", .url = "http://relay", .headers = {}, .body = {}}, completion);
  EXPECT_TRUE(statuses.empty());
  time.runDue();
  EXPECT_EQ(statuses, std::vector<int>{410});
  network.answerAll(std::nullopt);
  const auto second =
      network.http().send({.method = "PUT", .url = "http://relay", .headers = {}, .body = {}}, completion);
  time.runDue();
  EXPECT_EQ(statuses.size(), 1U);
}

TEST_F(MemoryNetworkTest, showsAnAbandonedRequest) {
  auto exchange = network.http().send({.method = "PUT", .url = "http://relay", .headers = {}, .body = {}},
                                      [](const auto&) { ADD_FAILURE() << "an abandoned request was answered"; });
  exchange.reset();
  network.answer(0, HttpResponse{200});
  time.advance(Seconds{60});
  EXPECT_TRUE(network.requests()[0].isAbandoned);
  EXPECT_FALSE(network.requests()[0].isAnswered);
}

TEST_F(MemoryNetworkTest, keepsAnAnswerOnItsWayFromARequestThatIsGivenUp) {
  auto exchange = network.http().send({.method = "PUT", .url = "http://relay", .headers = {}, .body = {}},
                                      [](const auto&) { ADD_FAILURE() << "an abandoned request was answered"; });
  network.answer(0, HttpResponse{200});
  exchange.reset();
  time.runDue();
  EXPECT_TRUE(network.requests()[0].isAnswered);
  EXPECT_FALSE(network.requests()[0].isAbandoned);
}

TEST_F(MemoryNetworkTest, mayGoBeforeItsClients) {
  auto own = std::make_unique<MemoryNetwork>(queue);
  auto task = own->webSockets().start({.url = "ws://relay", .headers = {}, .timeout = Seconds{60}}, {});
  auto exchange =
      own->http().send({.method = "GET", .url = "http://relay", .headers = {}, .body = {}}, [](const auto&) {});
  own.reset();
  receive(*task);
  send(*task, "nobody there");
  task->cancel(1000);
  task.reset();
  exchange.reset();
  EXPECT_EQ(events(), Events{});
  EXPECT_EQ(time.pendingTaskCount(), 0U);
}

TEST_F(MemoryNetworkTest, tellsOfWhatIsStartedAskedAndSent) {
  network.onStart([this](std::size_t socket) { log.push_back("started " + std::to_string(socket)); });
  network.onRequest([this](std::size_t request) { log.push_back("asked " + std::to_string(request)); });
  network.onFrame(
      [this](std::size_t socket, const std::string& text) { log.push_back(text + " on " + std::to_string(socket)); });
  const auto task = start();
  const auto exchange = network.http().send({}, [](const auto&) {});
  network.open(0);
  EXPECT_EQ(events(), (std::vector<std::string>{"started 0", "asked 0", "open"}));
  send(*task, "hello");
  EXPECT_EQ(events(), (std::vector<std::string>{"hello on 0", "sent"}));
  EXPECT_EQ(network.sockets()[0].sent, std::vector<std::string>{"hello"});
  network.forgetFrames();
  EXPECT_TRUE(network.sockets()[0].sent.empty());
}

TEST_F(MemoryNetworkTest, tellsOfNoRequestThatIsAnsweredAtOnce) {
  network.onRequest([](std::size_t) { FAIL(); });
  network.answerAll(HttpResponse{204});
  const auto exchange = network.http().send({}, [](const auto&) {});
  EXPECT_TRUE(network.requests()[0].isAnswered);
}

}  // namespace
}  // namespace tallyfox::memory
