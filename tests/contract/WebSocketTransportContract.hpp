#pragma once

/// What every WebSocket transport keeps to: the order of frames, and exactly the callbacks that the interface promises.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, WebSocketTransportContract, TheBackend), where TheBackend
/// is default-constructible, brings a server of its own, and has
///   WebSocketTransport& transport();
///   std::string echoUrl();       the server sends every text frame back as it is
///   std::string refusingUrl();   nobody listens there
///   std::string silentUrl();     takes connections and never says a word
///   bool waitUntil(const std::function<bool()>& condition);   bounded; says whether the condition holds
///   void pass(Seconds duration);                 lets this much of the transport's time pass
///   void onAnotherThread(const std::function<void()>& work);   returns when it is done
/// and of the server's newest connection
///   std::optional<std::string> requestHeader(const std::string& lowerCaseName);
///   std::optional<std::uint16_t> closeCode();    of the close frame that the client sent, if one came
///   void sendFromServer(const std::string& text);
///   void closeFromServer();                      with a close frame

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Limits.hpp"
#include "contract/Recorder.hpp"
#include "platform/WebSocketTransport.hpp"

namespace tallyfox::contract {

template <typename Backend>
class WebSocketTransportContract : public testing::Test {
 protected:
  std::unique_ptr<WebSocketTask> start(const std::string& url, Seconds timeout = Seconds{20}) {
    const WebSocketRequest request{.url = url, .headers = {{"authorization", "Bearer contract"}}, .timeout = timeout};
    return backend.transport().start(
        request, {.onOpen = [seen = seen] { seen.add("open"); }, .onClose = [seen = seen] { seen.add("close"); }});
  }
  std::unique_ptr<WebSocketTask> opened() {
    auto task = start(backend.echoUrl());
    EXPECT_TRUE(waitFor("open"));
    return task;
  }
  void send(WebSocketTask& task, const std::string& text) {
    task.send(text, [seen = seen](const std::expected<void, TransportError>& outcome) {
      seen.add(outcome ? "sent" : outcome.error().description.empty() ? "unexplained" : "send failed");
    });
  }
  void receive(WebSocketTask& task) {
    task.receive([seen = seen](const std::expected<Bytes, TransportError>& frame) {
      if (frame) return seen.add("frame " + std::string(textOf(*frame)));
      seen.add(frame.error().description.empty() ? "unexplained" : "receive failed");
    });
  }
  bool waitFor(const std::string& event, std::size_t count = 1) {
    return backend.waitUntil([&] { return seen.count(event) >= count; });
  }

  Backend backend;
  Recorder<std::string> seen;
};

TYPED_TEST_SUITE_P(WebSocketTransportContract);

TYPED_TEST_P(WebSocketTransportContract, opensAndCarriesTextBothWays) {
  const auto task = this->opened();
  this->receive(*task);
  this->send(*task, "{\"type\":\"Grüße 世界\"}");
  EXPECT_TRUE(this->waitFor("sent"));
  EXPECT_TRUE(this->waitFor("frame {\"type\":\"Grüße 世界\"}"));
  EXPECT_EQ(this->seen.count("open"), 1U);
  EXPECT_EQ(this->seen.count("close"), 0U);
}

TYPED_TEST_P(WebSocketTransportContract, sendsTheHeadersOfTheRequest) {
  const auto task = this->opened();
  EXPECT_EQ(this->backend.requestHeader("authorization"), "Bearer contract");
}

TYPED_TEST_P(WebSocketTransportContract, sendsWhatWasHandedOverBeforeItOpened) {
  const auto task = this->start(this->backend.echoUrl());
  this->receive(*task);
  this->send(*task, "early");
  EXPECT_TRUE(this->waitFor("sent"));
  EXPECT_TRUE(this->waitFor("frame early"));
}

TYPED_TEST_P(WebSocketTransportContract, keepsTheOrderOfFrames) {
  const auto task = this->opened();
  std::vector<std::string> expected;
  for (int number = 0; number < 30; ++number) {
    this->send(*task, std::to_string(number));
    expected.push_back("frame " + std::to_string(number));
  }
  for (std::size_t number = 0; number < expected.size(); ++number) {
    this->receive(*task);
    ASSERT_TRUE(this->waitFor(expected[number]));
  }
  std::vector<std::string> frames = this->seen.all();
  std::erase_if(frames, [](const std::string& event) { return !event.starts_with("frame "); });
  EXPECT_EQ(frames, expected);
  EXPECT_EQ(this->seen.count("sent"), 30U);
}

TYPED_TEST_P(WebSocketTransportContract, keepsFramesUntilTheyAreAskedFor) {
  const auto task = this->opened();
  this->backend.sendFromServer("one");
  this->backend.sendFromServer("two");
  this->backend.pass(Seconds{0.05});
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("frame one"));
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("frame two"));
}

TYPED_TEST_P(WebSocketTransportContract, givesOneFrameForOneReceive) {
  const auto task = this->opened();
  this->receive(*task);
  this->backend.sendFromServer("one");
  this->backend.sendFromServer("two");
  EXPECT_TRUE(this->waitFor("frame one"));
  this->backend.pass(Seconds{0.05});
  EXPECT_EQ(this->seen.count("frame two"), 0U);
}

TYPED_TEST_P(WebSocketTransportContract, failsTheReceiveAloneWhenNobodyListens) {
  const auto task = this->start(this->backend.refusingUrl());
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("receive failed"));
  this->backend.pass(Seconds{0.05});
  EXPECT_EQ(this->seen.all(), std::vector<std::string>{"receive failed"});
}

TYPED_TEST_P(WebSocketTransportContract, failsAReceiveAskedForAfterTheConnectionFailed) {
  const auto task = this->start(this->backend.refusingUrl());
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("receive failed"));
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("receive failed", 2));
}

TYPED_TEST_P(WebSocketTransportContract, givesUpOnAServerThatNeverAnswers) {
  const auto task = this->start(this->backend.silentUrl(), Seconds{0.3});
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("receive failed"));
  EXPECT_EQ(this->seen.count("open"), 0U);
  EXPECT_EQ(this->seen.count("close"), 0U);
}

TYPED_TEST_P(WebSocketTransportContract, hasNoTimeLimitOnceOpen) {
  const auto task = this->start(this->backend.echoUrl(), Seconds{0.3});
  EXPECT_TRUE(this->waitFor("open"));
  this->backend.pass(Seconds{0.5});
  this->receive(*task);
  this->send(*task, "still here");
  EXPECT_TRUE(this->waitFor("frame still here"));
}

TYPED_TEST_P(WebSocketTransportContract, reportsTheServersCloseOnceAndFailsTheReceive) {
  const auto task = this->opened();
  this->receive(*task);
  this->backend.closeFromServer();
  EXPECT_TRUE(this->waitFor("close"));
  EXPECT_TRUE(this->waitFor("receive failed"));
  this->send(*task, "too late");
  EXPECT_TRUE(this->waitFor("send failed"));
  EXPECT_EQ(this->seen.count("close"), 1U);
}

TYPED_TEST_P(WebSocketTransportContract, sendsTheCloseCodeOfACancel) {
  const auto task = this->opened();
  this->receive(*task);
  task->cancel(1001);
  EXPECT_TRUE(this->waitFor("receive failed"));
  EXPECT_TRUE(this->backend.waitUntil([&] { return this->backend.closeCode() == 1001; }));
  this->send(*task, "too late");
  EXPECT_TRUE(this->waitFor("send failed"));
}

TYPED_TEST_P(WebSocketTransportContract, isCancelledFromAnyThread) {
  const auto task = this->opened();
  this->receive(*task);
  this->backend.onAnotherThread([&] { task->cancel(1001); });
  EXPECT_TRUE(this->waitFor("receive failed"));
  EXPECT_TRUE(this->backend.waitUntil([&] { return this->backend.closeCode() == 1001; }));
}

TYPED_TEST_P(WebSocketTransportContract, isCancelledInsideACallback) {
  const auto task = this->opened();
  task->receive([&task, seen = this->seen](const std::expected<Bytes, TransportError>&) {
    task->cancel(1001);
    seen.add("cancelled");
  });
  this->backend.sendFromServer("go away");
  EXPECT_TRUE(this->waitFor("cancelled"));
  this->receive(*task);
  EXPECT_TRUE(this->waitFor("receive failed"));
  EXPECT_TRUE(this->backend.waitUntil([&] { return this->backend.closeCode() == 1001; }));
}

TYPED_TEST_P(WebSocketTransportContract, sendsTheCodeOfTheFirstCancelAlone) {
  const auto task = this->opened();
  this->receive(*task);
  task->cancel(1001);
  task->cancel(1000);
  EXPECT_TRUE(this->backend.waitUntil([&] { return this->backend.closeCode().has_value(); }));
  EXPECT_EQ(this->backend.closeCode(), 1001);
  EXPECT_TRUE(this->waitFor("receive failed"));
  EXPECT_EQ(this->seen.count("receive failed"), 1U);
}

TYPED_TEST_P(WebSocketTransportContract, isSilentOnceDestroyed) {
  auto task = this->opened();
  this->receive(*task);
  this->send(*task, "just now");
  this->backend.sendFromServer("just now");
  task.reset();
  const std::vector<std::string> before = this->seen.all();
  this->backend.pass(Seconds{0.1});
  EXPECT_EQ(this->seen.all(), before);
  EXPECT_EQ(this->backend.closeCode(), std::nullopt);
}

TYPED_TEST_P(WebSocketTransportContract, isSilentWhenDestroyedWhileConnecting) {
  auto task = this->start(this->backend.echoUrl());
  this->receive(*task);
  task.reset();
  this->backend.pass(Seconds{0.1});
  EXPECT_EQ(this->seen.count("receive failed"), 0U);
  EXPECT_EQ(this->seen.count("close"), 0U);
}

TYPED_TEST_P(WebSocketTransportContract, takesAFrameOfAMegabyte) {
  const auto task = this->opened();
  const std::string large(1024 * 1024, 'x');
  this->receive(*task);
  this->send(*task, large);
  EXPECT_TRUE(this->waitFor("frame " + large));
}

TYPED_TEST_P(WebSocketTransportContract, endsTheConnectionOnAFrameThatIsTooLarge) {
  const auto task = this->opened();
  this->receive(*task);
  this->backend.sendFromServer(std::string(limits::frameBytes + 1, 'x'));
  EXPECT_TRUE(this->waitFor("receive failed"));
  EXPECT_TRUE(this->waitFor("close"));
}

REGISTER_TYPED_TEST_SUITE_P(WebSocketTransportContract, opensAndCarriesTextBothWays, sendsTheHeadersOfTheRequest,
                            sendsWhatWasHandedOverBeforeItOpened, keepsTheOrderOfFrames,
                            keepsFramesUntilTheyAreAskedFor, givesOneFrameForOneReceive,
                            failsTheReceiveAloneWhenNobodyListens, failsAReceiveAskedForAfterTheConnectionFailed,
                            givesUpOnAServerThatNeverAnswers, hasNoTimeLimitOnceOpen,
                            reportsTheServersCloseOnceAndFailsTheReceive, sendsTheCloseCodeOfACancel,
                            isCancelledFromAnyThread, isCancelledInsideACallback, sendsTheCodeOfTheFirstCancelAlone,
                            isSilentOnceDestroyed, isSilentWhenDestroyedWhileConnecting, takesAFrameOfAMegabyte,
                            endsTheConnectionOnAFrameThatIsTooLarge);

}  // namespace tallyfox::contract
