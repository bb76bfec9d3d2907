// Shows that keys and clicks made in a real session go where the seam promises.

#include "contract/SyntheticInputContract.hpp"
#include "contract/macos/MacContractDesktop.hpp"
#include "contract/macos/Permission.hpp"
#include "platform/macos/CGEventInput.hpp"

namespace tallyfox::contract {
namespace {

class MacInputBackend : public MacContractDesktop {
 public:
  MacInputBackend() { skipWithout(Permission::accessibility); }

  SyntheticInput& input() { return input_; }
  std::int32_t openReceiver(const DialogFrame& frame) {
    StageProcess& stage = start();
    open(stage, {.title = "Receiver", .frame = frame});
    settle(stage);
    return stage.pid();
  }
  void focus(std::int32_t pid) { bringForward(pid); }
  std::vector<std::string> received(std::int32_t pid) { return stage(pid).ask({"input"}); }
  [[nodiscard]] bool directsKeysAnywhere() const { return true; }

 private:
  mac_os::CGEventInput input_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, SyntheticInputContract, MacInputBackend);

}  // namespace
}  // namespace tallyfox::contract
