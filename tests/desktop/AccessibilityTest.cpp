// What the accessibility backend sees of real programs on a real X display, and what it does to them: a dialog is read
// as a scan reads it, with the places that the X server says, its buttons can be pressed, and a program that hangs
// costs its time-out once and nobody else.

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "desktop/AccessibilityFixture.hpp"
#include "desktop/X11TestClient.hpp"

namespace tallyfox::testing {
namespace {

using AccessibilityOfZenity = AccessibilityFixture;

template <typename Work>
Seconds timeOf(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::steady_clock::now() - start;
}

TEST_F(AccessibilityOfZenity, isTrustedWithAnEnabledAccessibilityBus) {
  EXPECT_TRUE(accessibility.isProcessTrusted());
  EXPECT_THAT(console.lines(), ::testing::IsEmpty());
}

TEST_F(AccessibilityOfZenity, readsAQuestionAsAScanDoes) {
  const auto zenity = question("Are you sure that you want to erase the disk?");
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto onScreen = screenWindowOf(zenity->pid());
  ASSERT_TRUE(onScreen);

  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::role), "AXWindow");
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::subrole), "AXDialog");
  EXPECT_EQ(helpers.stringAttribute(*window, AXAttribute::title), "Careful");
  EXPECT_EQ(helpers.boolAttribute(*window, AXAttribute::minimized), false);
  EXPECT_EQ(helpers.frame(*window), onScreen->clientFrame);
  EXPECT_EQ(accessibility.processIdentifier(*window), zenity->pid());
  EXPECT_EQ(helpers.elementAttribute(*window, AXAttribute::parent), accessibility.applicationElement(zenity->pid()));

  std::vector<std::string> labels;
  for (const AXUIElement& element : buttonsOf(*window)) {
    labels.push_back(helpers.label(element).value_or(""));
    const auto frame = helpers.frame(element);
    ASSERT_TRUE(frame);
    EXPECT_GT(frame->width, 20);
    EXPECT_GE(frame->x, onScreen->clientFrame.x);
    EXPECT_LE(frame->y + frame->height, onScreen->clientFrame.y + onScreen->clientFrame.height);
    EXPECT_EQ(helpers.boolAttribute(element, AXAttribute::enabled), true);
    EXPECT_EQ(helpers.nearestWindow(element, 20), *window);
    EXPECT_THAT(helpers.actionNames(element), ::testing::Contains("AXPress"));
  }
  EXPECT_THAT(labels, ::testing::UnorderedElementsAre("Erase", "Keep it"));
  std::vector<std::string> texts;
  for (const AXUIElement& element : elementsOf(*window, ax_role::staticText))
    texts.push_back(helpers.stringAttribute(element, AXAttribute::value).value_or(""));
  EXPECT_THAT(texts, ::testing::Contains("Are you sure that you want to erase the disk?"));
}

TEST_F(AccessibilityOfZenity, aReadScopeShowsExactlyWhatSingleReadsShow) {
  const auto zenity = question("Erase?");
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto textsOf = [this](const AXUIElement& element) {
    std::vector<std::optional<std::string>> texts;
    for (const auto attribute :
         {AXAttribute::role, AXAttribute::subrole, AXAttribute::title, AXAttribute::description, AXAttribute::value})
      texts.push_back(helpers.stringAttribute(element, attribute));
    return texts;
  };
  const std::vector<AXUIElement> single = helpers.deeplyNestedChildren(*window, 120);
  ASSERT_GT(single.size(), 4U);
  for (const int limit : {0, 1, 3, 120}) {
    AXReadPlan plan = scanPlan({*window});
    plan.descendantLimit = limit;
    const auto scope = accessibility.willRead(plan);
    std::vector<AXUIElement> expected(single.begin(),
                                      single.begin() + std::min<std::ptrdiff_t>(limit, std::ssize(single)));
    EXPECT_EQ(helpers.deeplyNestedChildren(*window, limit), expected) << limit;
  }
  for (const AXUIElement& element : single) {
    const auto alone = textsOf(element);
    const auto frame = helpers.frame(element);
    const auto scope = accessibility.willRead(scanPlan({*window}));
    EXPECT_EQ(textsOf(element), alone);
    EXPECT_EQ(helpers.frame(element), frame);
  }
}

TEST_F(AccessibilityOfZenity, pressesTheNamedButtonAndTheProgramEndsWithItsStatus) {
  struct Case {
    std::string label;
    int status;
  };
  for (const Case& one : {Case{"Erase", 0}, Case{"Keep it", 1}}) {
    const auto zenity = question("Erase?");
    const auto window = windowOf(*zenity);
    ASSERT_TRUE(window);
    const auto found = button(*window, one.label);
    ASSERT_TRUE(found);
    EXPECT_TRUE(accessibility.performAction(*found, ax_action::press));
    EXPECT_EQ(zenity->waitForExit(), one.status) << one.label;
    EXPECT_EQ(accessibility.copyAttribute(*found, AXAttribute::role), std::unexpected(AXError::invalidElement));
    EXPECT_EQ(helpers.frame(*found), std::nullopt);
  }
}

TEST_F(AccessibilityOfZenity, aHungProgramCostsItsTimeOutOnceAndNobodyElse) {
  const auto hung = question("Hung?");
  const auto hungWindow = windowOf(*hung);
  const auto healthy = question("Healthy?");
  const auto healthyWindow = windowOf(*healthy);
  ASSERT_TRUE(hungWindow && healthyWindow);
  hung->signal(SIGSTOP);

  const Seconds scan = timeOf([&] {
    const AXUIElement applications[] = {accessibility.applicationElement(hung->pid()),
                                        accessibility.applicationElement(healthy->pid())};
    const auto outer = accessibility.willRead(
        {.roots = {applications[0], applications[1]}, .attributes = {AXAttribute::windows}, .descendantLimit = 0});
    EXPECT_THAT(helpers.windows(applications[0]), ::testing::IsEmpty());
    EXPECT_THAT(helpers.windows(applications[1]), ::testing::ElementsAre(*healthyWindow));
    const auto scope = accessibility.willRead(scanPlan({*hungWindow, *healthyWindow}));
    EXPECT_EQ(helpers.stringAttribute(*hungWindow, AXAttribute::role), std::nullopt);
    EXPECT_EQ(accessibility.copyAttribute(*hungWindow, AXAttribute::title), std::unexpected(AXError::cannotComplete));
    EXPECT_EQ(buttonsOf(*healthyWindow).size(), 2U);
  });
  EXPECT_GE(scan, Seconds(0.19));
  EXPECT_LT(scan, Seconds(0.39)) << "the time-out was paid twice";

  hung->signal(SIGCONT);
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return buttonsOf(*hungWindow).size() == 2; }));
}

TEST_F(AccessibilityOfZenity, theFocusIsThatOfTheActiveWindow) {
  const auto first = question("First?");
  const auto firstWindow = windowOf(*first);
  const auto second = question("Second?");
  const auto secondWindow = windowOf(*second);
  ASSERT_TRUE(firstWindow && secondWindow);
  const auto focusIs = [this](const AXUIElement& window) {
    return DesktopSession::waitUntil([&] { return helpers.focusedWindow() == window; });
  };
  EXPECT_TRUE(accessibility.performAction(*firstWindow, ax_action::raise));
  EXPECT_TRUE(focusIs(*firstWindow));
  const AXUIElement firstApplication = accessibility.applicationElement(first->pid());
  const AXUIElement secondApplication = accessibility.applicationElement(second->pid());
  EXPECT_EQ(helpers.elementAttribute(firstApplication, AXAttribute::focusedWindow), *firstWindow);
  EXPECT_EQ(helpers.elementAttribute(firstApplication, AXAttribute::mainWindow), *firstWindow);
  EXPECT_EQ(helpers.elementAttribute(secondApplication, AXAttribute::mainWindow), std::nullopt);
  EXPECT_EQ(helpers.boolAttribute(*firstWindow, AXAttribute::main), true);
  EXPECT_EQ(helpers.boolAttribute(*secondWindow, AXAttribute::main), false);

  EXPECT_TRUE(accessibility.setAttribute(secondApplication, AXAttribute::frontmost, true));
  EXPECT_TRUE(focusIs(*secondWindow));
  EXPECT_TRUE(accessibility.setAttribute(firstApplication, AXAttribute::focusedWindow, *firstWindow));
  EXPECT_TRUE(focusIs(*firstWindow));

  const auto keep = button(*firstWindow, "Keep it");
  ASSERT_TRUE(keep);
  EXPECT_TRUE(accessibility.setAttribute(*keep, AXAttribute::focused, true));
  EXPECT_TRUE(DesktopSession::waitUntil([&] { return helpers.focusedElement() == *keep; }));
  EXPECT_EQ(helpers.elementAttribute(firstApplication, AXAttribute::focusedUIElement), *keep);
}

TEST_F(AccessibilityOfZenity, aMinimisedWindowStaysAWindowAndComesBack) {
  const auto zenity = question("Erase?");
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  EXPECT_TRUE(accessibility.setAttribute(*window, AXAttribute::minimized, true));
  EXPECT_TRUE(
      DesktopSession::waitUntil([&] { return helpers.boolAttribute(*window, AXAttribute::minimized) == true; }));
  EXPECT_THAT(helpers.windows(accessibility.applicationElement(zenity->pid())), ::testing::ElementsAre(*window));
  EXPECT_TRUE(accessibility.setAttribute(*window, AXAttribute::minimized, false));
  EXPECT_TRUE(
      DesktopSession::waitUntil([&] { return helpers.boolAttribute(*window, AXAttribute::minimized) == false; }));
}

TEST_F(AccessibilityOfZenity, theElementAtAPointIsOfTheTopmostWindowAlone) {
  const auto lower = question("Lower?");
  const auto lowerWindow = windowOf(*lower);
  ASSERT_TRUE(lowerWindow);
  const auto erase = button(*lowerWindow, "Erase");
  ASSERT_TRUE(erase);
  const auto frame = helpers.frame(*erase);
  ASSERT_TRUE(frame);
  const AXPoint center{.x = frame->centerX(), .y = frame->centerY()};
  const auto buttonAt = [this](AXPoint point) -> std::optional<AXUIElement> {
    const auto hit = accessibility.elementAtPosition(point);
    return hit ? helpers.nearestButton(*hit, 8) : std::nullopt;
  };
  EXPECT_EQ(buttonAt(center), *erase);

  const auto upper =
      session.start({"zenity", "--info", "--title=Cover", "--text=Covering", "--width=900", "--height=700"});
  const auto upperWindow = windowOf(*upper);
  ASSERT_TRUE(upperWindow);
  EXPECT_TRUE(accessibility.performAction(*upperWindow, ax_action::raise));
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return helpers.focusedWindow() == *upperWindow; }));
  const auto hit = accessibility.elementAtPosition(center);
  ASSERT_TRUE(hit);
  EXPECT_EQ(accessibility.processIdentifier(*hit), upper->pid());

  EXPECT_EQ(accessibility.elementAtPosition({.x = 2, .y = 2}), std::unexpected(AXError::noValue));
}

TEST_F(AccessibilityOfZenity, anUnmanagedWindowOnTopHidesTheButtonBelow) {
  const auto zenity = question("Erase?");
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto erase = button(*window, "Erase");
  ASSERT_TRUE(erase);
  const auto frame = helpers.frame(*erase);
  ASSERT_TRUE(frame);
  const AXPoint center{.x = frame->centerX(), .y = frame->centerY()};
  ASSERT_TRUE(accessibility.elementAtPosition(center));

  X11TestClient client(session.display());
  const auto menu = client.create({.x = static_cast<std::int16_t>(frame->x - 10),
                                   .y = static_cast<std::int16_t>(frame->y - 10),
                                   .width = 200,
                                   .height = 100,
                                   .isUnmanaged = true});
  // Also when it claims to be of the same program.
  client.setNumbers(menu, "_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(zenity->pid())});
  client.show(menu);
  EXPECT_EQ(accessibility.elementAtPosition(center), std::unexpected(AXError::noValue));
  client.destroy(menu);
  client.synchronize();
  EXPECT_TRUE(accessibility.elementAtPosition(center));
}

TEST_F(AccessibilityOfZenity, ofAWideListOnlyTheEndIsAsked) {
  std::vector<std::string> command = {"zenity", "--list", "--title=Pick", "--column=Row"};
  for (int row = 0; row < 500; ++row)
    command.push_back("row " + std::to_string(row));
  const auto zenity = session.start(command);
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto lists = elementsOf(*window, "AXTable");
  ASSERT_EQ(lists.size(), 1U);
  EXPECT_LE(helpers.children(lists.front()).size(), 120U);
  const std::vector<AXUIElement> single = helpers.deeplyNestedChildren(*window, 120);
  const auto scope = accessibility.willRead(scanPlan({*window}));
  EXPECT_EQ(helpers.deeplyNestedChildren(*window, 120), single);
  EXPECT_EQ(buttonsOf(*window).size(), 2U);
}

TEST_F(AccessibilityOfZenity, threadsReadSideBySide) {
  const auto zenity = question("Erase?");
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const std::vector<AXUIElement> expected = helpers.deeplyNestedChildren(*window, 120);
  std::atomic<int> agreeing = 0;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&] {
        for (int round = 0; round < 5; ++round) {
          const auto scope = accessibility.willRead(scanPlan({*window}));
          if (helpers.deeplyNestedChildren(*window, 120) == expected) ++agreeing;
        }
      });
    }
  }
  EXPECT_EQ(agreeing, 20);
}

TEST_F(AccessibilityOfZenity, aChangeEndsWhatAScopeRemembers) {
  const auto zenity = question("Erase?");
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto scope = accessibility.willRead(scanPlan({*window}));
  EXPECT_EQ(helpers.boolAttribute(*window, AXAttribute::minimized), false);
  EXPECT_TRUE(accessibility.setAttribute(*window, AXAttribute::minimized, true));
  EXPECT_TRUE(
      DesktopSession::waitUntil([&] { return helpers.boolAttribute(*window, AXAttribute::minimized) == true; }));
}

TEST_F(AccessibilityOfZenity, aPasswordIsNeverRead) {
  const auto zenity = session.start({"zenity", "--password", "--title=Login"});
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto fields = elementsOf(*window, "AXTextField");
  ASSERT_EQ(fields.size(), 1U);
  EXPECT_EQ(helpers.stringAttribute(fields.front(), AXAttribute::subrole), "AXSecureTextField");
  EXPECT_EQ(accessibility.copyAttribute(fields.front(), AXAttribute::value), std::unexpected(AXError::unsupported));
}

TEST_F(AccessibilityOfZenity, entriesAreFieldsAndNotTexts) {
  const auto zenity =
      session.start({"zenity", "--entry", "--title=Name", "--text=Who are you?", "--entry-text=Nobody"});
  const auto window = windowOf(*zenity);
  ASSERT_TRUE(window);
  const auto fields = elementsOf(*window, "AXTextField");
  ASSERT_EQ(fields.size(), 1U);
  EXPECT_EQ(helpers.stringAttribute(fields.front(), AXAttribute::value), "Nobody");
  const auto texts = elementsOf(*window, ax_role::staticText);
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_EQ(helpers.stringAttribute(texts.front(), AXAttribute::value), "Who are you?");
}

TEST_F(AccessibilityOfZenity, aProcessThatIsNotThereIsAnErrorAndNoWait) {
  const AXUIElement nobody = accessibility.applicationElement(1);
  const Seconds time = timeOf([&] {
    EXPECT_EQ(accessibility.copyAttribute(nobody, AXAttribute::windows), std::unexpected(AXError::invalidElement));
  });
  EXPECT_LT(time, Seconds(0.15));
  EXPECT_EQ(accessibility.processIdentifier(accessibility.systemWideElement()), std::unexpected(AXError::unsupported));
}

TEST_F(AccessibilityOfZenity, trustFollowsTheSessionAndIsExplainedOncePerChange) {
  ASSERT_TRUE(accessibility.isProcessTrusted());
  session.setAccessibilityEnabled(false);
  EXPECT_FALSE(accessibility.isProcessTrusted());
  EXPECT_FALSE(accessibility.isProcessTrusted());
  EXPECT_THAT(console.lines(), ::testing::ElementsAre(::testing::StartsWith("Accessibility is unavailable: ")));
  session.setAccessibilityEnabled(true);
  EXPECT_TRUE(accessibility.isProcessTrusted());
  EXPECT_EQ(console.lines().size(), 1U);
}

TEST_F(AccessibilityOfZenity, aLostBusIsFoundAgain) {
  ASSERT_TRUE(accessibility.isProcessTrusted());
  session.stopBuses();
  EXPECT_FALSE(accessibility.isProcessTrusted());
  EXPECT_EQ(accessibility.copyAttribute(accessibility.applicationElement(1), AXAttribute::windows),
            std::unexpected(AXError::notTrusted));
  session.startSessionBus();
  session.setAccessibilityEnabled(true);
  EXPECT_TRUE(accessibility.isProcessTrusted());
  const auto zenity = question("Erase?");
  EXPECT_TRUE(windowOf(*zenity));
}

}  // namespace
}  // namespace tallyfox::testing
