// Shows that reports reach a callback as tasks of its queue alone, and that it falls silent when it is destroyed.

#include "platform/macos/QueuedCallback.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::mac_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class QueuedCallbackTest : public testing::Test {
 protected:
  void run() { time.advance(Seconds{0.001}); }

  memory::VirtualTime time;
  std::shared_ptr<SerialQueue> queue = time.makeQueue("main");
  std::vector<std::string> told;
};

TEST_F(QueuedCallbackTest, tellsAsTasksOfTheQueueInOrder) {
  const QueuedCallback<std::string> callback(*queue, [this](const std::string& report) {
    EXPECT_TRUE(queue->isCurrent());
    told.push_back(report);
  });
  callback.tell("one");
  callback.tell("two");
  EXPECT_THAT(told, IsEmpty());
  run();
  EXPECT_THAT(told, ElementsAre("one", "two"));
}

TEST_F(QueuedCallbackTest, isSilentOnceDestroyedAlsoAboutWhatWasTold) {
  auto callback = std::make_unique<QueuedCallback<>>(*queue, [this] { told.push_back("told"); });
  callback->tell();
  callback.reset();
  run();
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(QueuedCallbackTest, letsTheCallbackDestroyIt) {
  std::unique_ptr<QueuedCallback<std::string>> callback;
  callback = std::make_unique<QueuedCallback<std::string>>(*queue, [&](const std::string& report) {
    callback.reset();
    told.push_back(report);
  });
  callback->tell("one");
  callback->tell("two");
  run();
  EXPECT_THAT(told, ElementsAre("one"));
}

}  // namespace
}  // namespace tallyfox::mac_os
