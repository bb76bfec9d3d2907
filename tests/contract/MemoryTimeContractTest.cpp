// Shows that virtual time gives queues and clocks like those of real threads.

#include "contract/SerialQueueContract.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::contract {
namespace {

class MemoryTimeBackend {
 public:
  std::shared_ptr<SerialQueue> makeQueue() { return time_.makeQueue("contract"); }
  Clock& clock() { return time_.clock(); }
  bool waitUntil(const std::function<bool()>& condition) { return time_.advanceUntil(condition, Seconds{5}); }
  void pass(Seconds duration) { time_.advance(duration); }

 private:
  memory::VirtualTime time_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SerialQueueContract, MemoryTimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ClockContract, MemoryTimeBackend);

}  // namespace
}  // namespace tallyfox::contract
