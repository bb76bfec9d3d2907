// Shows that a read scope fetches exactly the bounded walk, that reads are the same with and without it whatever fails,
// and that an application which does not answer costs its time-out once.

#include "platform/macos/AXReadings.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "macos/FakeApplications.hpp"

namespace tallyfox::mac_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t pid = 100;
constexpr std::int32_t other = 200;
const std::vector<AXAttribute> plain = {AXAttribute::role, AXAttribute::title, AXAttribute::children};

class AXReadingsTest : public testing::Test {
 protected:
  static AXUIElement node(int number) { return FakeApplications::element(pid, number); }
  /// A window 1 with the children 2 and 3; 3 has the child 4.
  void makeWindow() {
    const auto make = [this](int number, const std::vector<AXUIElement>& children) {
      applications.assign(node(number), AXAttribute::role, std::string("AXGroup"));
      applications.assign(node(number), AXAttribute::title, "Number " + std::to_string(number));
      applications.assign(node(number), AXAttribute::children, children);
    };
    make(1, {node(2), node(3)});
    make(2, {});
    make(3, {node(4)});
    make(4, {});
    applications.assign(FakeApplications::application(pid), AXAttribute::windows, std::vector{node(1)});
    applications.assign(FakeApplications::application(pid), AXAttribute::mainWindow, node(1));
  }
  std::vector<int> elementsAsked() const {
    std::vector<int> numbers;
    for (const auto& [element, attributes] : applications.asked)
      numbers.push_back(FakeElement::of(element).number());
    return numbers;
  }
  std::string title(int number) {
    const auto answer = readings.copyAttribute(node(number), AXAttribute::title);
    return answer ? std::get<std::string>(*answer) : "";
  }

  FakeClock clock;
  FakeApplications applications{clock};
  AXReadings readings{applications, clock};
};

TEST_F(AXReadingsTest, fetchesTheBoundedWalkWithOneMessageAnElement) {
  makeWindow();
  const auto scope = readings.open({{node(1)}, plain, 80});
  EXPECT_THAT(elementsAsked(), ElementsAre(1, 3, 4, 2));
  EXPECT_EQ(applications.count("batch"), 4U);
  EXPECT_EQ(title(2), "Number 2");
  EXPECT_EQ(title(4), "Number 4");
  EXPECT_EQ(applications.count("read"), 0U);
}

TEST_F(AXReadingsTest, stopsAtTheLimitOfDescendants) {
  makeWindow();
  const auto two = readings.open({{node(1)}, plain, 2});
  EXPECT_THAT(elementsAsked(), ElementsAre(1, 3, 4));
  applications.resetCounts();
  EXPECT_EQ(title(2), "Number 2");
  EXPECT_EQ(applications.count("read"), 1U);
}

TEST_F(AXReadingsTest, readsRootsAloneWithoutDescendants) {
  makeWindow();
  for (const int limit : {0, -1}) {
    applications.resetCounts();
    const auto scope = readings.open({{node(1)}, {AXAttribute::title}, limit});
    EXPECT_THAT(elementsAsked(), ElementsAre(1));
    EXPECT_THAT(applications.asked.at(0).second, ElementsAre(AXAttribute::title));
  }
}

TEST_F(AXReadingsTest, walksEvenWhenChildrenAreNotPlanned) {
  makeWindow();
  const auto scope = readings.open({{node(1)}, {AXAttribute::title}, 80});
  EXPECT_THAT(elementsAsked(), ElementsAre(1, 3, 4, 2));
}

TEST_F(AXReadingsTest, takesTheWindowsOfAnApplicationAsRootsEachOnce) {
  makeWindow();
  std::vector<AXAttribute> attributes = plain;
  attributes.insert(attributes.end(), {AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow});
  const auto scope = readings.open({{FakeApplications::application(pid)}, attributes, 80});
  EXPECT_THAT(elementsAsked(), ElementsAre(0, 1, 3, 4, 2));
  EXPECT_THAT(applications.asked.at(0).second,
              ElementsAre(AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow));
  EXPECT_EQ(applications.asked.at(1).second, plain) << "windows have no windows";
}

TEST_F(AXReadingsTest, readsAnApplicationItselfWhenItsWindowsAreNotWanted) {
  makeWindow();
  const auto scope = readings.open({{FakeApplications::application(pid)}, {AXAttribute::mainWindow}, 0});
  EXPECT_THAT(elementsAsked(), ElementsAre(0));
  EXPECT_TRUE(readings.copyAttribute(FakeApplications::application(pid), AXAttribute::mainWindow));
  EXPECT_EQ(applications.count("read"), 0U);
}

TEST_F(AXReadingsTest, neverRemembersWhatHasTheFocus) {
  applications.assign(FakeApplications::systemWide(), AXAttribute::focusedWindow, node(1));
  const auto scope = readings.open({{FakeApplications::systemWide()}, {AXAttribute::focusedWindow}, 0});
  EXPECT_EQ(applications.count("batch"), 0U);
  EXPECT_TRUE(readings.copyAttribute(FakeApplications::systemWide(), AXAttribute::focusedWindow));
}

TEST_F(AXReadingsTest, showsTheMomentOfTheReadingUntilTheScopeEnds) {
  makeWindow();
  auto scope = readings.open({{node(1)}, plain, 80});
  applications.assign(node(2), AXAttribute::title, std::string("Renamed"));
  EXPECT_EQ(title(2), "Number 2");
  scope.reset();
  EXPECT_EQ(title(2), "Renamed");
}

TEST_F(AXReadingsTest, nestsAndAsksOnlyForWhatTheOuterScopeDoesNotKnow) {
  makeWindow();
  auto outer = readings.open({{node(1)}, {AXAttribute::title}, 1});
  applications.resetCounts();
  auto inner = readings.open({{node(1)}, {AXAttribute::title, AXAttribute::role}, 80});
  EXPECT_THAT(elementsAsked(), ElementsAre(1, 3, 4, 2));
  EXPECT_THAT(applications.asked.at(0).second, ElementsAre(AXAttribute::role));
  EXPECT_THAT(applications.asked.at(2).second,
              ElementsAre(AXAttribute::title, AXAttribute::role, AXAttribute::children));
  inner.reset();
  applications.resetCounts();
  EXPECT_EQ(title(3), "Number 3");
  EXPECT_EQ(applications.count("read"), 0U);
  EXPECT_EQ(title(2), "Number 2");
  EXPECT_EQ(applications.count("read"), 1U);
}

TEST_F(AXReadingsTest, endsInAnyOrder) {
  makeWindow();
  auto outer = readings.open({{node(1)}, plain, 0});
  auto inner = readings.open({{node(3)}, plain, 0});
  outer.reset();
  applications.assign(node(1), AXAttribute::title, std::string("Renamed"));
  EXPECT_EQ(title(1), "Renamed");
  EXPECT_EQ(title(3), "Number 3");
}

TEST_F(AXReadingsTest, outlivesTheReadings) {
  makeWindow();
  auto local = std::make_unique<AXReadings>(applications, clock);
  const auto scope = local->open({{node(1)}, plain, 80});
  local.reset();
}

TEST_F(AXReadingsTest, forgetsAnElementThatWasSetOrActedUpon) {
  makeWindow();
  const auto outer = readings.open({{node(1)}, plain, 80});
  const auto inner = readings.open({{node(2)}, plain, 0});
  EXPECT_TRUE(readings.setAttribute(node(2), AXAttribute::title, std::string("Set")));
  EXPECT_EQ(title(2), "Set");
  applications.onPerform = [this](const AXUIElement& element) {
    applications.assign(element, AXAttribute::title, std::string("Pressed"));
  };
  EXPECT_TRUE(readings.performAction(node(4), "AXPress"));
  EXPECT_EQ(title(4), "Pressed");
  EXPECT_EQ(title(3), "Number 3");
  EXPECT_EQ(applications.count("read"), 2U) << "the others are remembered";
}

TEST_F(AXReadingsTest, isOfItsThreadAlone) {
  makeWindow();
  const auto scope = readings.open({{node(1)}, plain, 80});
  applications.assign(node(1), AXAttribute::title, std::string("Renamed"));
  std::thread([this] { EXPECT_EQ(title(1), "Renamed"); }).join();
  EXPECT_EQ(title(1), "Number 1");
}

TEST_F(AXReadingsTest, waitsForAHangingApplicationOnceAScope) {
  makeWindow();
  applications.hanging.insert(pid);
  {
    const auto scope = readings.open({{FakeApplications::application(pid), node(1), node(3)}, plain, 80});
    for (int reading = 0; reading < 20; ++reading) {
      EXPECT_EQ(readings.copyAttribute(node(1), AXAttribute::role), std::unexpected(AXError::cannotComplete));
      EXPECT_EQ(readings.copyActionNames(node(2)), std::unexpected(AXError::cannotComplete));
      EXPECT_EQ(readings.performAction(node(2), "AXPress"), std::unexpected(AXError::cannotComplete));
      const auto inner = readings.open({{node(2)}, plain, 80});
    }
    EXPECT_DOUBLE_EQ(clock.continuous().count(), 0.2);
    applications.hanging.clear();
    EXPECT_EQ(title(1), "") << "not asked again while the scope lives";
  }
  EXPECT_EQ(title(1), "Number 1");
}

TEST_F(AXReadingsTest, countsSilenceInsideAScopeFromSingleReadsToo) {
  makeWindow();
  const auto scope = readings.open({{node(2)}, plain, 0});
  applications.hanging.insert(pid);
  for (int reading = 0; reading < 5; ++reading)
    EXPECT_EQ(title(4), "");
  EXPECT_DOUBLE_EQ(clock.continuous().count(), 0.2);
  EXPECT_EQ(title(2), "Number 2") << "what is remembered stays";
}

TEST_F(AXReadingsTest, delaysNobodyElseForAHangingApplication) {
  makeWindow();
  const AXUIElement foreign = FakeApplications::element(other, 1);
  applications.assign(foreign, AXAttribute::title, std::string("Other"));
  applications.hanging.insert(pid);
  const auto scope = readings.open({{node(1), foreign}, {AXAttribute::title}, 0});
  EXPECT_EQ(readings.copyAttribute(foreign, AXAttribute::title), AXValue(std::string("Other")));
  EXPECT_EQ(applications.count("read"), 0U);
}

TEST_F(AXReadingsTest, asksAgainWithoutAScope) {
  makeWindow();
  applications.hanging.insert(pid);
  EXPECT_EQ(title(1), "");
  EXPECT_EQ(title(1), "");
  EXPECT_DOUBLE_EQ(clock.continuous().count(), 0.4);
}

TEST_F(AXReadingsTest, asksForTheFocusOnceWhileItsApplicationHangs) {
  applications.frontmost = pid;
  applications.hanging.insert(pid);
  const auto scope = readings.open({});
  for (const AXAttribute attribute : {AXAttribute::focusedWindow, AXAttribute::focusedUIElement})
    EXPECT_EQ(readings.copyAttribute(FakeApplications::systemWide(), attribute),
              std::unexpected(AXError::cannotComplete));
  EXPECT_DOUBLE_EQ(clock.continuous().count(), 0.2);
}

TEST_F(AXReadingsTest, asksNoFocusOfAnApplicationThatIsKnownToHang) {
  applications.frontmost = pid;
  applications.hanging.insert(pid);
  const auto scope = readings.open({{node(1)}, plain, 0});
  EXPECT_FALSE(readings.copyAttribute(FakeApplications::systemWide(), AXAttribute::focusedWindow));
  EXPECT_DOUBLE_EQ(clock.continuous().count(), 0.2);
}

TEST_F(AXReadingsTest, asksSinglyWhatABatchDidNotBring) {
  makeWindow();
  applications.refusingBatches.insert(node(1));
  applications.shorteningBatches.insert(node(3));
  const auto scope = readings.open({{node(1), node(3)}, plain, 80});
  EXPECT_EQ(title(1), "Number 1");
  EXPECT_EQ(title(3), "Number 3");
  EXPECT_EQ(applications.count("read"), 2U);
}

TEST_F(AXReadingsTest, remembersThatAnElementIsGone) {
  const auto scope = readings.open({{node(9)}, plain, 80});
  EXPECT_EQ(readings.copyAttribute(node(9), AXAttribute::role), std::unexpected(AXError::invalidElement));
  EXPECT_EQ(applications.count("read"), 0U);
}

TEST_F(AXReadingsTest, takesLackOfTrustForNothingButThat) {
  makeWindow();
  applications.distrusting.insert(pid);
  const auto scope = readings.open({{node(1)}, plain, 80});
  EXPECT_EQ(readings.copyAttribute(node(1), AXAttribute::role), std::unexpected(AXError::notTrusted));
  applications.distrusting.clear();
  EXPECT_EQ(title(1), "Number 1");
}

TEST_F(AXReadingsTest, startsWithAFifthOfASecondAndKeepsEachThreadsTimeouts) {
  makeWindow();
  const auto timeoutOf = [this](const AXUIElement& element) {
    (void)readings.copyAttribute(element, AXAttribute::title);
    return applications.timeouts.back();
  };
  EXPECT_EQ(timeoutOf(node(1)), Seconds{0.2});
  EXPECT_EQ(timeoutOf(FakeApplications::systemWide()), Seconds{0.2});
  readings.setTimeout(FakeApplications::application(pid), Seconds{0.5});
  readings.setTimeout(FakeApplications::systemWide(), Seconds{0.3});
  readings.setTimeout(FakeApplications::element(other, 1), Seconds{9});
  EXPECT_EQ(timeoutOf(node(1)), Seconds{0.5});
  EXPECT_EQ(timeoutOf(FakeApplications::element(other, 1)), Seconds{0.2});
  EXPECT_EQ(timeoutOf(FakeApplications::systemWide()), Seconds{0.3});
  EXPECT_EQ(readings.systemWideTimeout(), Seconds{0.3});
  std::thread([&] { EXPECT_EQ(timeoutOf(node(1)), Seconds{0.2}); }).join();
  readings.setTimeout(FakeApplications::application(pid), Seconds{0});
  EXPECT_GT(timeoutOf(node(1)), Seconds{0}) << "zero would mean the system's own";
  readings.setTimeout(FakeApplications::application(pid), Seconds{std::numeric_limits<double>::quiet_NaN()});
  EXPECT_EQ(timeoutOf(node(1)), Seconds{60});
  readings.setTimeout(FakeApplications::application(pid), Seconds{0.2});
  EXPECT_EQ(timeoutOf(node(1)), Seconds{0.2});
}

}  // namespace
}  // namespace tallyfox::mac_os
