// Shows that the Mac's queues and clocks keep to what queues and clocks promise.

#include "contract/SerialQueueContract.hpp"
#include "contract/macos/HostedMainQueue.hpp"
#include "contract/macos/RealTime.hpp"
#include "platform/macos/MacSerialQueue.hpp"

namespace tallyfox::contract {
namespace {

class MacSerialQueueBackend : public RealTime {
 public:
  std::shared_ptr<SerialQueue> makeQueue() { return std::make_shared<mac_os::MacSerialQueue>("contract"); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, SerialQueueContract, MacSerialQueueBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, ClockContract, MacSerialQueueBackend);

/// There is one main thread: the queue that a test compares with its first one has a thread of its own.
class MacMainQueueBackend : public RealTime {
 public:
  std::shared_ptr<SerialQueue> makeQueue() {
    if (hasMainQueue_) return std::make_shared<mac_os::MacSerialQueue>("contract");
    hasMainQueue_ = true;
    return std::make_shared<HostedMainQueue>();
  }

 private:
  bool hasMainQueue_ = false;
};
INSTANTIATE_TYPED_TEST_SUITE_P(MacMain, SerialQueueContract, MacMainQueueBackend);

}  // namespace
}  // namespace tallyfox::contract
