// The whole interface on a desktop of its own: what assistive programs see and press, that it comes to the front from
// wherever it was, that it suits the screen, and what it leaves behind when closed.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <nlohmann/json.hpp>

#include "desktop/DesktopSession.hpp"

namespace tallyfox {
namespace {

using nlohmann::json;
using testing::DesktopProcess;
using testing::DesktopSession;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

/// The stage program, told and heard line by line.
class Stage {
 public:
  Stage(const DesktopSession& session, const std::string& state, std::vector<std::string> environment = {}) {
    std::array<int, 2> commands{};
    std::array<int, 2> answers{};
    if (::pipe2(commands.data(), O_CLOEXEC) != 0 || ::pipe2(answers.data(), O_CLOEXEC) != 0)
      throw std::runtime_error("no pipe");
    std::vector<std::string> all = session.environment();
    all.insert(all.end(), environment.begin(), environment.end());
    process_ = std::make_unique<DesktopProcess>(std::vector<std::string>{TALLYFOX_WINDOW_STAGE, state}, all, answers[1],
                                                commands[0]);
    ::close(commands[0]);
    ::close(answers[1]);
    commands_ = commands[1];
    answers_ = answers[0];
  }
  ~Stage() {
    ::close(commands_);
    ::close(answers_);
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  void tell(const std::string& command) const {
    const std::string line = command + "\n";
    ASSERT_EQ(::write(commands_, line.data(), line.size()), static_cast<ssize_t>(line.size()));
  }
  /// The next line that it says; empty when it says nothing for ten seconds.
  [[nodiscard]] std::string heard() const {
    std::string line;
    pollfd waiting{.fd = answers_, .events = POLLIN, .revents = 0};
    for (char letter = 0; ::poll(&waiting, 1, 10'000) > 0 && ::read(answers_, &letter, 1) == 1 && letter != '\n';)
      line += letter;
    return line;
  }
  void show() const {
    tell("show");
    ASSERT_THAT(heard(), ::testing::StartsWith("painted "));
  }
  [[nodiscard]] long residentKilobytes() const {
    std::ifstream status("/proc/" + std::to_string(process_->pid()) + "/status");
    for (std::string line; std::getline(status, line);)
      if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
    return 0;
  }
  [[nodiscard]] DesktopProcess& process() const { return *process_; }

 private:
  int commands_ = -1;
  int answers_ = -1;
  std::unique_ptr<DesktopProcess> process_;
};

class StageTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::vector<json> tree() const {
    return json::parse(session.outputOf({"/usr/bin/python3", "-B", audit(), "tree"}, Seconds(30)));
  }
  [[nodiscard]] std::string press(const std::string& name) const {
    return session.outputOf({"/usr/bin/python3", "-B", audit(), "press", name}, Seconds(30));
  }
  std::string x11(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "xdotool");
    std::string answer = session.outputOf(arguments);
    while (!answer.empty() && answer.back() == '\n')
      answer.pop_back();
    return answer;
  }
  [[nodiscard]] std::string windowNumber() const { return x11({"search", "--onlyvisible", "--name", "^Tallyfox$"}); }
  [[nodiscard]] bool isInFront() const {
    const std::string active = x11({"getactivewindow", "getwindowname"});
    return active == "Tallyfox";
  }
  void waitForWindow() const {
    ASSERT_TRUE(DesktopSession::waitUntil([this] { return isInFront(); }));
  }

  DesktopSession session;

 private:
  [[nodiscard]] static std::string audit() { return TALLYFOX_SOURCE_DIR "/tests/window/desktop/audit.py"; }
};

bool has(const json& element, const std::string& state) {
  const auto& states = element["states"];
  return std::find(states.begin(), states.end(), state) != states.end();
}

std::vector<json> showing(const std::vector<json>& tree) {
  std::vector<json> found;
  for (const json& element : tree)
    if (has(element, "SHOWING")) found.push_back(element);
  return found;
}

std::vector<std::string> namesOf(const std::vector<json>& tree, const std::string& role) {
  std::vector<std::string> names;
  for (const json& element : tree)
    if (element["role"] == role) names.push_back(element["name"]);
  return names;
}

std::vector<json> cardsOf(const std::vector<json>& tree) {
  std::vector<json> cards;
  for (const json& element : tree)
    if (element["role"] == "panel") cards.push_back(element);
  return cards;
}

TEST_F(StageTest, isSeenByAssistiveProgramsForWhatItIs) {
  const Stage stage(session, "paired");
  stage.show();
  waitForWindow();
  ASSERT_EQ(press("Pair Another iPhone"), "True\n");
  std::vector<json> seen;
  // The toolkit shows a button pressed for a moment before it acts.
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return !namesOf(seen = showing(tree()), "image").empty(); }));
  EXPECT_THAT(namesOf(seen, "frame"), ElementsAre("Tallyfox"));
  EXPECT_TRUE(has(seen.front(), "ACTIVE"));
  EXPECT_THAT(namesOf(seen, "panel"), ElementsAre("iPhone Pairing", "Accessibility", "Login Item", "Active"));
  EXPECT_THAT(namesOf(seen, "image"), ElementsAre("Pairing code"));
  EXPECT_THAT(
      namesOf(seen, "label"),
      ElementsAre("Tallyfox", "All OK", "All OK",
                  "Tallyfox is watching quietly and will notify your iPhone when this Mac needs attention.",
                  "iPhone Pairing", "iPhone paired", "Maria’s iPhone can receive approval alerts from this Mac.",
                  "Open the iPhone app, choose Pair Mac, and scan this code.", "Accessibility", "Allowed",
                  "Can detect dialogs and press approved buttons.", "Login Item", "Enabled",
                  "Opens automatically when you sign in.", "Active", "Pause while handling prompts locally."));
  std::vector<std::string> controls;
  for (const json& element : seen) {
    if (!has(element, "FOCUSABLE") || element["role"] == "frame") continue;
    SCOPED_TRACE(element.dump());
    controls.push_back(element["name"]);
    EXPECT_NE(element["name"], "");
    EXPECT_NE(element["description"], "");
    EXPECT_EQ(element["role"], "push button");
    EXPECT_TRUE(has(element, "ENABLED") && has(element, "SENSITIVE"));
    EXPECT_THAT(element["actions"].get<std::vector<std::string>>(), Not(IsEmpty()));
  }
  EXPECT_THAT(controls,
              ElementsAre("Tallyfox Menu", "Hide Code", "Unpair iPhone", "Pause for 2 Hours", "More Options"));
}

TEST_F(StageTest, isPressedByAssistivePrograms) {
  const Stage stage(session, "update-available");
  stage.show();
  waitForWindow();
  EXPECT_EQ(press("Pause for 2 Hours"), "True\n");
  EXPECT_EQ(stage.heard(), "pause 0");
  EXPECT_EQ(press("Install Update..."), "True\n");
  EXPECT_EQ(stage.heard(), "checkForUpdates");
  // The question comes first, and it waits for nobody: the program goes on.
  EXPECT_EQ(press("Unpair iPhone"), "True\n");
  ASSERT_TRUE(DesktopSession::waitUntil([this] { return !x11({"search", "--name", "^Unpair iPhone"}).empty(); }));
  stage.tell("state no-setup");
  EXPECT_EQ(press("Unpair"), "True\n");
  EXPECT_EQ(stage.heard(), "unpairPhone");
  EXPECT_TRUE(DesktopSession::waitUntil([this] { return x11({"search", "--name", "^Unpair iPhone"}).empty(); }));
  EXPECT_THAT(namesOf(showing(tree()), "panel"),
              ElementsAre("iPhone Pairing", "Location", "Accessibility", "Login Item", "Not Available"));
}

TEST_F(StageTest, comesToTheFrontFromWhereverItWas) {
  const Stage stage(session, "paired");
  stage.show();
  waitForWindow();
  const auto other = session.start({"xterm", "-geometry", "150x60+0+0"});
  ASSERT_TRUE(DesktopSession::waitUntil([this] { return !isInFront(); }));
  stage.tell("show");
  EXPECT_TRUE(DesktopSession::waitUntil([this] { return isInFront(); })) << "from behind another window";

  x11({"windowminimize", "--sync", windowNumber()});
  ASSERT_TRUE(DesktopSession::waitUntil([this] { return !isInFront(); }));
  stage.tell("show");
  EXPECT_TRUE(DesktopSession::waitUntil([this] { return isInFront(); })) << "minimised";

  x11({"set_desktop", "1"});
  ASSERT_TRUE(DesktopSession::waitUntil([this] { return x11({"get_desktop"}) == "1" && !isInFront(); }));
  stage.tell("show");
  EXPECT_TRUE(DesktopSession::waitUntil([this] { return isInFront(); })) << "from another workspace";
  EXPECT_EQ(x11({"get_desktop"}), "1");
  EXPECT_EQ(x11({"get_desktop_for_window", windowNumber()}), "1");
}

TEST_F(StageTest, suitsAScreenThatIsTooLowForOneColumn) {
  // 1280 by 800 pixels of which each point takes one and a half.
  const Stage stage(session, "ready-to-scan", {"QT_SCALE_FACTOR=1.5"});
  stage.show();
  waitForWindow();
  const std::string geometry = x11({"getwindowgeometry", "--shell", windowNumber()});
  EXPECT_THAT(geometry, ::testing::HasSubstr("WIDTH=1170\n"));
  const std::vector<json> seen = showing(tree());
  const auto edge = [](const json& element, const char* side) { return element[side].get<int>(); };
  const auto cards = cardsOf(seen);
  ASSERT_EQ(cards.size(), 4U);
  EXPECT_LT(edge(cards[0], "right"), edge(cards[1], "left")) << "the code beside the rows";
  EXPECT_NEAR(edge(cards[0], "left") - edge(seen[0], "left"), edge(seen[0], "right") - edge(cards[1], "right"), 2);
}

TEST_F(StageTest, goesOnWithoutAWindowAndGivesItsMemoryBack) {
  // A sanitizer would keep what was freed.
  const Stage stage(session, "pair-another", {"ASAN_OPTIONS=quarantine_size_mb=0:detect_leaks=0"});
  stage.show();
  waitForWindow();
  const auto reopen = [&] {
    stage.tell("close");
    ASSERT_EQ(stage.heard(), "closed");
    ASSERT_TRUE(DesktopSession::waitUntil([this] { return windowNumber().empty(); }));
    stage.tell("show");
    waitForWindow();
  };
  for (int round = 0; round < 3; ++round)
    reopen();
  const long early = stage.residentKilobytes();
  for (int round = 0; round < 10; ++round)
    reopen();
  EXPECT_LT(stage.residentKilobytes(), early + 1024) << "nothing piles up";
  EXPECT_TRUE(stage.process().isRunning());
  stage.tell("quit");
  EXPECT_EQ(stage.process().waitForExit(), 0);
}

}  // namespace
}  // namespace tallyfox
