// Shows that the updater in memory keeps to what the seam promises.

#include "contract/UpdaterContract.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::contract {
namespace {

class MemoryUpdaterBackend {
 public:
  Updater& updater() { return updater_; }
  void publish(const UpdateItem& update) { updater_.findScheduledUpdate(update); }
  void attend(const UpdateItem& update) { updater_.attend(update); }
  void finishSession() { updater_.finishSession(); }
  [[nodiscard]] int windows() const { return static_cast<int>(updater_.windows.size()); }
  [[nodiscard]] int checks() const { return updater_.checks; }

 private:
  memory::MemoryUpdater updater_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, UpdaterContract, MemoryUpdaterBackend);

}  // namespace
}  // namespace tallyfox::contract
