// The whole agent on real threads over a desktop in memory: scans, decisions and reconnects at once, while applications
// hang and the permission comes and goes. For the thread sanitizer, mostly.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "app/AgentWorld.hpp"
#include "app/AppDelegate.hpp"
#include "model/RelayCommands.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/ThreadQueue.hpp"
#include "relay/RelayCrypto.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::sim {
namespace {

using linux_os::ThreadQueue;

constexpr int wantedAnswers = 12;
constexpr std::size_t wantedSockets = 3;
constexpr std::chrono::seconds patience{90};

/// What needs no window and no test to look at it; called from the main thread alone.
class SilentInterface : public AgentInterface {
 public:
  void configureMenus() override {}
  void enableCheckForUpdates(bool /*enabled*/) override {}
  void showStatusWindow() override {}
  void refreshStatusWindow() override {}
  void showPendingCount(std::int64_t /*count*/) override {}
};

class ThreadedRun : public testing::Test {
 protected:
  ThreadedRun() {
    environment.set("TALLYFOX_RELAY_URL", "wss://relay.example.com/agent");
    environment.set("TALLYFOX_PAIRING_ID", "studio");
    network.answerAll(HttpResponse{204});
    network.onStart([this](std::size_t socket) {
      far.post([this, socket] {
        network.open(socket);
        progress([&] { sockets = socket + 1; });
      });
    });
    network.onFrame([this](std::size_t socket, const std::string& text) {
      far.post([this, socket, text] { receive(socket, text); });
    });
    for (const char* name : {"Finder", "Editor"})
      applications.push_back(desktop.launch(name));
  }

  template <typename Work>
  void onMain(Work work) {
    std::promise<void> done;
    mainQueue.post([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }

  AgentPlatform platform() {
    return {.mainQueue = mainQueue,
            .scanQueue = scanQueue,
            .makeQueue = [](const std::string& label) { return std::make_shared<ThreadQueue>(label); },
            .clock = clock,
            .console = console,
            .environment = environment,
            .accessibility = desktop.accessibility(),
            .accessibilityElements = desktop.elements(),
            .accessibilityObservers = desktop.observers(),
            .applications = desktop.applications(),
            .windowList = desktop.windowList(),
            .syntheticInput = desktop.input(),
            .webSockets = network.webSockets(),
            .http = network.http(),
            .keychain = keychain,
            .defaults = defaults,
            .bundle = bundle,
            .instanceLock = instanceLock,
            .notifications = notifications,
            .loginItemService = loginItemService,
            .settings = settings,
            .terminateApplication = [] {}};
  }

  // The far side, on its own thread.
  void receive(std::size_t socket, const std::string& text) {
    const Json frame = parsedJson(text).value();
    const std::string type = relayMessageType(frame).value();
    if (type == relay_type::macSnapshot) {
      const auto message = MacSnapshotRelayMessage::decoded(frame).value();
      const auto approvals = decodedApprovals(opened(message.encryptedApprovals)).value();
      for (const PendingApproval& approval : approvals)
        ask(socket, approval);
    } else if (type == relay_type::approvalResult) {
      const auto message = ApprovalResultRelayMessage::decoded(frame).value();
      const auto command = ApprovalResultCommand::decoded(opened(message.encryptedResult)).value();
      progress([&] { ++answers[command.status]; });
      answered(socket);
    }
  }
  void ask(std::size_t socket, const PendingApproval& approval) {
    if (!asked.insert(approval.id).second) return;
    const std::string& label = approval.buttons.back().label;
    {
      const std::scoped_lock lock(mutex);
      approvedLabels.insert(label);
    }
    const auto payload =
        RelayCrypto::seal(bytesOf(jsonText(ApprovalRequestCommand{approval.id, label}.json())), secret());
    const ApprovalRequestRelayMessage message{"d-" + std::to_string(asked.size()), payload.value(), clock.now()};
    network.deliver(socket, jsonText(message.json()));
  }
  /// Another dialog for each answer; now and then the connection ends, a program hangs or the permission is gone.
  void answered(std::size_t socket) {
    const int number = ++answeredCount;
    openDialog();
    if (number % 5 == 0) network.close(socket);
    desktop.setFault(applications[1], number % 3 == 0 ? memory::Fault::hang : memory::Fault::none);
    if (number % 4 == 0) desktop.setTrusted(false);
    desktop.setTrusted(true);
  }
  void openDialog() {
    const std::string number = std::to_string(++opened_);
    desktop.openWindow(applications[0], memory::messageBox("Dialog " + number, {"Are you sure you want to delete it?"},
                                                           {"Cancel", "Erase " + number}));
  }
  [[nodiscard]] std::string secret() {
    const auto stored = keychain.stored({"com.tallyfox.agent", "installation-secrets-v1", true});
    return InstallationSecrets::decoded(*parsedJson(textOf(stored.value()))).value().e2eSecret;
  }
  [[nodiscard]] Json opened(const EncryptedRelayPayload& payload) {
    return parsedJson(textOf(RelayCrypto::open(payload, secret()).value())).value();
  }

  template <typename Change>
  void progress(Change change) {
    const std::scoped_lock lock(mutex);
    change();
    progressed.notify_all();
  }
  [[nodiscard]] bool isDone() {
    int count = 0;
    for (const auto& [status, times] : answers)
      count += times;
    return count >= wantedAnswers && sockets >= wantedSockets;
  }

  linux_os::LinuxClock clock;
  memory::MemoryConsole console;
  memory::MemoryEnvironment environment;
  memory::MemoryKeychain keychain;
  memory::MemoryUserDefaults defaults;
  memory::MemoryBundle bundle;
  memory::MemoryInstanceLock instanceLock;
  memory::MemoryLoginItemService loginItemService;
  memory::MemorySettingsOpener settings;
  SilentInterface interface;

  std::mutex mutex;
  std::condition_variable progressed;
  std::map<std::string, int> answers;  ///< by status
  std::size_t sockets = 0;
  std::set<std::string> approvedLabels;

  std::set<Uuid> asked;  ///< this and the next two: the far side's
  int answeredCount = 0;
  int opened_ = 0;
  std::vector<std::int32_t> applications;

  ThreadQueue mainQueue{"main"};
  memory::MemoryNotifications notifications{mainQueue};
  memory::MemoryDesktop desktop{clock, mainQueue};
  memory::MemoryNetwork network{std::make_shared<ThreadQueue>("network")};
  ThreadQueue scanQueue{"scan"};
  ThreadQueue far{"far side"};
};

TEST_F(ThreadedRun, answersWhileItScansAndReconnects) {
  std::unique_ptr<AppDelegate> agent;
  onMain([&] {
    agent = std::make_unique<AppDelegate>(platform(), interface);
    agent->applicationDidFinishLaunching();
  });
  far.post([this] {
    openDialog();
    openDialog();
  });
  {
    std::unique_lock lock(mutex);
    EXPECT_TRUE(progressed.wait_for(lock, patience, [this] { return isDone(); }));
  }
  onMain([&] {
    agent->applicationWillTerminate();
    agent.reset();
  });
  network.onFrame({});
  network.onStart({});
  const std::scoped_lock lock(mutex);
  EXPECT_GE(answers[approval_status::accepted], wantedAnswers / 2);
  for (const std::string& label : desktop.presses())
    EXPECT_TRUE(approvedLabels.contains(label)) << label;
}

}  // namespace
}  // namespace tallyfox::sim
