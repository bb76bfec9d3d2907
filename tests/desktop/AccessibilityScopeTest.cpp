// What is read ahead is what single reads show, for every kind of dialog that zenity has: found by searches,
// recognised, or walked where there is a list. And what a reading notices of programs on the way: silent ones, and
// windows that nobody opened up.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/BusMonitor.hpp"
#include "desktop/X11TestClient.hpp"
#include "platform/linux/SessionStatus.hpp"

namespace tallyfox::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::StartsWith;

struct DialogKind {
  std::string name;
  std::vector<std::string> options;
  bool hasList = false;
};

class AccessibilityScope : public AccessibilityFixture {
 protected:
  /// Everything that a reader of dialogs asks of an element.
  struct Reading {
    AXUIElement element;
    std::array<std::optional<std::string>, 5> texts;
    std::optional<bool> isModal;
    std::optional<bool> isEnabled;
    std::optional<DialogFrame> frame;
    bool operator==(const Reading&) const = default;
  };
  [[nodiscard]] std::vector<Reading> readingsOf(const AXUIElement& window, int limit) {
    std::vector<AXUIElement> elements = helpers.deeplyNestedChildren(window, limit);
    elements.insert(elements.begin(), window);
    std::vector<Reading> readings;
    for (const AXUIElement& element : elements) {
      readings.push_back({.element = element,
                          .texts = {helpers.stringAttribute(element, AXAttribute::role),
                                    helpers.stringAttribute(element, AXAttribute::subrole),
                                    helpers.stringAttribute(element, AXAttribute::title),
                                    helpers.stringAttribute(element, AXAttribute::description),
                                    helpers.stringAttribute(element, AXAttribute::value)},
                          .isModal = helpers.boolAttribute(element, AXAttribute::modal),
                          .isEnabled = helpers.boolAttribute(element, AXAttribute::enabled),
                          .frame = helpers.frame(element)});
    }
    return readings;
  }
  /// As the detector announces its reading.
  [[nodiscard]] AXReadPlan planFor(const DesktopProcess& program, int limit) {
    AXReadPlan plan = scanPlan({accessibility.applicationElement(program.pid())});
    plan.attributes.push_back(AXAttribute::windows);
    plan.descendantLimit = limit;
    return plan;
  }
  [[nodiscard]] std::string busAddress() const {
    return linux_os::SessionStatus(session.sessionBusAddress()).accessibilityBusAddress().value();
  }
};

class AccessibilityScopeKinds : public AccessibilityScope, public ::testing::WithParamInterface<DialogKind> {};

TEST_P(AccessibilityScopeKinds, showsWhatSingleReadsShow) {
  std::vector<std::string> command = {"zenity", "--title=Careful"};
  command.insert(command.end(), GetParam().options.begin(), GetParam().options.end());
  const auto program = session.start(command);
  const auto window = windowOf(*program);
  ASSERT_TRUE(window);
  for (const int limit : {2, 80, 120}) {
    const std::vector<Reading> single = readingsOf(*window, limit);
    // Searched the first time, recognised the second.
    for (const char* time : {"first", "second"}) {
      const auto scope = accessibility.willRead(planFor(*program, limit));
      const std::vector<Reading> ahead = readingsOf(*window, limit);
      ASSERT_EQ(ahead.size(), single.size()) << limit << ", " << time;
      for (std::size_t index = 0; index < single.size(); ++index)
        EXPECT_TRUE(ahead[index] == single[index])
            << limit << ", " << time << ", element " << index << ": " << single[index].texts[0].value_or("no role");
    }
  }
}

TEST_P(AccessibilityScopeKinds, searchesNoListThroughAndThrough) {
  std::vector<std::string> command = {"zenity", "--title=Careful"};
  command.insert(command.end(), GetParam().options.begin(), GetParam().options.end());
  const auto program = session.start(command);
  ASSERT_TRUE(windowOf(*program));
  BusMonitor monitor(busAddress());
  const std::set<std::string> names = monitor.namesOf(program->pid());
  (void)monitor.take();
  for (int time = 0; time < 2; ++time)
    (void)accessibility.willRead(planFor(*program, 80));
  const auto messages = monitor.take();
  const auto searches = std::ranges::count_if(messages, [&](const BusMessage& message) {
    return message.kind == BusMessage::Kind::call && message.member == "GetMatches" && names.contains(message.receiver);
  });
  // For the focus each time, and once for lists; four more where there is none, and one to recognise the dialog.
  EXPECT_EQ(searches, GetParam().hasList ? 3 : 8);
}

INSTANTIATE_TEST_SUITE_P(
    Zenity, AccessibilityScopeKinds,
    ::testing::Values(DialogKind{"Question", {"--question", "--text=Erase it?"}},
                      DialogKind{"Warning", {"--warning", "--text=It is <b>full</b>."}},
                      DialogKind{"Password", {"--password"}}, DialogKind{"Entry", {"--entry", "--text=Its name?"}},
                      DialogKind{"Progress", {"--progress", "--percentage=30", "--text=Copying"}},
                      DialogKind{"Scale", {"--scale", "--text=How loud?"}},
                      DialogKind{"Forms", {"--forms", "--text=You", "--add-entry=Name", "--add-password=Secret"}},
                      DialogKind{"List", {"--list", "--column=File", "one.txt", "two.txt", "three.txt"}, true}),
    [](const auto& kind) { return kind.param.name; });

TEST_F(AccessibilityScope, asksASilentProgramAgainOnceItIsHeardOf) {
  std::vector<std::string> silent;
  linux_os::LinuxAccessibility reader(
      desktop, console, session.sessionBusAddress(),
      {.unseenWindows = nullptr, .onSilence = [&](const std::string& busName) { silent.push_back(busName); }});
  const auto program = question("Erase?");
  ASSERT_TRUE(windowOf(*program));
  BusMonitor monitor(busAddress());
  const std::set<std::string> names = monitor.namesOf(program->pid());
  const auto callsMade = [&] {
    (void)reader.copyAttribute(reader.applicationElement(program->pid()), AXAttribute::windows);
    const auto messages = monitor.take();
    return std::ranges::count_if(messages, [&](const BusMessage& message) {
      return message.kind == BusMessage::Kind::call && message.member != "Ping" && names.contains(message.receiver);
    });
  };
  EXPECT_GT(callsMade(), 0);
  program->setStopped(true);
  (void)monitor.take();
  EXPECT_GT(callsMade(), 0);
  EXPECT_THAT(silent, ::testing::SizeIs(1));
  EXPECT_THAT(silent, IsSubsetOf(names));
  EXPECT_EQ(callsMade(), 0) << "it is left alone";
  reader.heardOf(program->pid());
  EXPECT_GT(callsMade(), 0);
  EXPECT_THAT(silent, ::testing::SizeIs(2));
  program->setStopped(false);
}

TEST_F(AccessibilityScope, reportsAWindowThatIsNotOpenToAccessibility) {
  linux_os::LinuxAccessibility reader(
      desktop, console, session.sessionBusAddress(),
      {.unseenWindows = std::make_unique<linux_os::UnseenWindows>(console), .onSilence = nullptr});
  const auto open = question("Erase?");
  ASSERT_TRUE(windowOf(*open));
  X11TestClient client(session.display());
  (void)client.open({.title = "Closed to all"});
  const auto read = [&] {
    (void)reader.willRead({.roots = {reader.applicationElement(getpid()), reader.applicationElement(open->pid())},
                           .attributes = {AXAttribute::windows},
                           .descendantLimit = 0});
    return console.lines();
  };
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return !read().empty(); }));
  EXPECT_THAT(read(), ::testing::ElementsAre(StartsWith("The window \"Closed to all\" of ")));
}

}  // namespace
}  // namespace tallyfox::testing
