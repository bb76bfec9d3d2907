// Shows that keys and clicks made on a real X server go where the seam promises.

#include <fmt/format.h>

#include <map>

#include "contract/SyntheticInputContract.hpp"
#include "desktop/X11ContractDesktop.hpp"
#include "desktop/X11Program.hpp"
#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11InputGuard.hpp"
#include "platform/linux/XTestInput.hpp"

namespace tallyfox::contract {
namespace {

using tallyfox::testing::X11Program;
using tallyfox::testing::X11TestClient;

/// X gives keys to the focus and clicks to the window on top, and can direct neither elsewhere.
class LinuxInputBackend : public tallyfox::testing::X11ContractDesktop {
 public:
  SyntheticInput& input() { return input_; }
  SyntheticInput& missingInput() { return missing_; }
  void onMain(const std::function<void()>& work) { work(); }
  std::int32_t openReceiver(const DialogFrame& frame) {
    auto program = std::make_unique<X11Program>(*session_);
    const std::int32_t pid = program->pid();
    program->open({.x = static_cast<std::int16_t>(frame.x),
                   .y = static_cast<std::int16_t>(frame.y),
                   .width = static_cast<std::uint16_t>(frame.width),
                   .height = static_cast<std::uint16_t>(frame.height),
                   .hearsMotion = true,
                   .title = "Receiver"});
    receivers_[pid] = {std::move(program), {.x = frame.centerX(), .y = frame.centerY()}, {}};
    focus(pid);
    return pid;
  }
  /// The manager holds the devices for a moment while it moves the focus.
  void focus(std::int32_t pid) {
    activate(receivers_.at(pid).program->windows().front());
    EXPECT_TRUE(
        waitUntil([&] { return guard_.keysReach(pid) && guard_.mouseReaches(pid, receivers_.at(pid).middle); }));
  }
  void quit(std::int32_t pid) { receivers_.erase(pid); }
  std::vector<std::string> received(std::int32_t pid) {
    Receiver& receiver = receivers_.at(pid);
    for (const X11TestClient::InputEvent& event : receiver.program->client().takeEvents())
      receiver.received.push_back(described(receiver.program->client(), event));
    return receiver.received;
  }
  [[nodiscard]] bool directsKeysAnywhere() const { return false; }

 private:
  struct Receiver {
    std::unique_ptr<X11Program> program;
    AXPoint middle;
    std::vector<std::string> received;
  };

  static std::string described(X11TestClient& client, const X11TestClient::InputEvent& event) {
    const bool isKey = event.type == XCB_KEY_PRESS || event.type == XCB_KEY_RELEASE;
    if (isKey)
      return fmt::format("key {} {}", keyCode(client, event.detail), event.type == XCB_KEY_PRESS ? "down" : "up");
    if (event.type == XCB_MOTION_NOTIFY) return fmt::format("mouse moved {},{}", event.x, event.y);
    const std::string button = event.detail == 1 ? "left" : fmt::format("button {} ", event.detail);
    return fmt::format("mouse {}{} {},{}", button, event.type == XCB_BUTTON_PRESS ? "Down" : "Up", event.x, event.y);
  }
  static int keyCode(X11TestClient& client, std::uint8_t number) {
    static const std::map<std::uint32_t, KeyCode> codes = {
        {0xFF0D, KeyCode::returnKey}, {0x0020, KeyCode::space}, {0xFF1B, KeyCode::escape}};
    for (const auto& [symbol, code] : codes)
      if (client.keyNumber(symbol) == number) return static_cast<int>(code);
    return -1;
  }

  linux_os::X11Connection connection_{session_->display()};
  linux_os::X11InputGuard guard_{desktop_, connection_};
  linux_os::XTestInput input_{desktop_, session_->display()};
  linux_os::XTestInput missing_{linux_os::X11Desktop::withoutDisplay(), std::nullopt};
  std::map<std::int32_t, Receiver> receivers_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, SyntheticInputContract, LinuxInputBackend);

}  // namespace
}  // namespace tallyfox::contract
