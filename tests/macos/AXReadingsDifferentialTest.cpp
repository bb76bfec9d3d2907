// Shows on random trees with random faults that reads through scopes give what single reads give, and never cost more.

#include <gtest/gtest.h>

#include <array>
#include <random>

#include "macos/FakeApplications.hpp"
#include "platform/macos/AXReadings.hpp"

namespace tallyfox::mac_os {
namespace {

const std::vector<AXAttribute> attributes = {AXAttribute::role,     AXAttribute::title,   AXAttribute::modal,
                                             AXAttribute::children, AXAttribute::windows, AXAttribute::mainWindow};
constexpr std::array pids = {100, 200, 300};
constexpr int elementsEach = 25;

class RandomDesktop {
 public:
  /// Those that are answers say what an element lacks, or that it is gone.
  enum class Faults { all, thatAreAnswers };

  explicit RandomDesktop(unsigned seed, Faults faults = Faults::all) : faults_(faults), random_(seed) {
    for (const std::int32_t pid : pids) {
      applications.assign(FakeApplications::application(pid), AXAttribute::windows, elements(pid, 3));
      if (chance(2)) applications.assign(FakeApplications::application(pid), AXAttribute::mainWindow, element(pid));
      for (int number = 1; number <= elementsEach; ++number)
        fill(pid, FakeApplications::element(pid, number));
      if (faults_ == Faults::thatAreAnswers) continue;
      if (chance(5)) applications.hanging.insert(pid);
      if (chance(8)) applications.distrusting.insert(pid);
    }
  }
  bool chance(unsigned oneOf) { return std::uniform_int_distribution<unsigned>(1, oneOf)(random_) == 1; }
  int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(random_); }
  AXUIElement element(std::int32_t pid) { return FakeApplications::element(pid, 1 + upTo(elementsEach)); }
  AXReadPlan plan() {
    AXReadPlan made;
    for (const std::int32_t pid : pids)
      if (chance(2)) made.roots.push_back(chance(2) ? FakeApplications::application(pid) : element(pid));
    for (const AXAttribute attribute : attributes)
      if (!chance(4)) made.attributes.push_back(attribute);
    made.descendantLimit = upTo(30) - 2;
    return made;
  }

  FakeClock clock;
  FakeApplications applications{clock};

 private:
  /// Children can be missing elements, elements of another application, ancestors, or twice the same.
  std::vector<AXUIElement> elements(std::int32_t pid, int most) {
    std::vector<AXUIElement> listed;
    for (int count = upTo(most); count > 0; --count)
      listed.push_back(element(chance(12) ? pids.at(static_cast<std::size_t>(upTo(2))) : pid));
    return listed;
  }
  void fill(std::int32_t pid, const AXUIElement& element) {
    if (chance(15)) return;  // it is gone
    applications.assign(element, AXAttribute::role, std::string(chance(3) ? "AXButton" : "AXGroup"));
    const auto assign = [&](AXAttribute attribute, AXValue value) {
      if (chance(6)) return;
      if (chance(8)) {
        constexpr std::array errors = {AXError::noValue, AXError::unsupported, AXError::invalidElement,
                                       AXError::cannotComplete};
        applications.assign(element, attribute,
                            std::unexpected(errors.at(static_cast<std::size_t>(upTo(faults_ == Faults::all ? 3 : 2)))));
      } else {
        applications.assign(element, attribute, std::move(value));
      }
    };
    assign(AXAttribute::title, "Title " + std::to_string(upTo(9)));
    assign(AXAttribute::modal, chance(2));
    if (chance(10)) {
      applications.assign(element, AXAttribute::children, std::string("no list"));
    } else {
      assign(AXAttribute::children, elements(pid, 4));
    }
    if (faults_ == Faults::thatAreAnswers) return;
    if (chance(12)) applications.refusingBatches.insert(element);
    if (chance(12)) applications.shorteningBatches.insert(element);
  }

  Faults faults_;
  std::mt19937 random_;
};

using Answers = std::vector<std::expected<AXValue, AXError>>;

Answers everything(AXReadings& readings) {
  Answers answers;
  for (const std::int32_t pid : pids) {
    for (int number = 0; number <= elementsEach + 1; ++number) {
      const AXUIElement element =
          number == 0 ? FakeApplications::application(pid) : FakeApplications::element(pid, number);
      for (const AXAttribute attribute : attributes)
        answers.push_back(readings.copyAttribute(element, attribute));
    }
  }
  return answers;
}

TEST(AXReadingsDifferentialTest, scopesShowWhatSingleReadsShow) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    RandomDesktop desktop(seed);
    AXReadings readings(desktop.applications, desktop.clock);
    const Answers single = everything(readings);
    const std::size_t singleReads = desktop.applications.count("read");
    desktop.applications.resetCounts();
    const Seconds start = desktop.clock.continuous();
    {
      const auto outer = readings.open(desktop.plan());
      const auto inner = readings.open(desktop.plan());
      ASSERT_EQ(everything(readings), single) << "seed " << seed;
    }
    EXPECT_LE(desktop.clock.continuous() - start, Seconds{0.2 * 1.001} * desktop.applications.hanging.size())
        << "seed " << seed;
    EXPECT_LE(desktop.applications.count("read"), singleReads);
    EXPECT_EQ(everything(readings), single) << "nothing is left of a scope that has ended";
  }
}

/// The walk as a reader makes it.
std::vector<AXUIElement> walked(AXReadings& readings, const AXUIElement& root, int limit) {
  const auto childrenOf = [&](const AXUIElement& element) {
    const auto answer = readings.copyAttribute(element, AXAttribute::children);
    const auto* list = answer ? std::get_if<std::vector<AXUIElement>>(&*answer) : nullptr;
    return list == nullptr ? std::vector<AXUIElement>() : *list;
  };
  std::vector<AXUIElement> found;
  std::vector<AXUIElement> stack = childrenOf(root);
  while (!stack.empty() && static_cast<int>(found.size()) < limit) {
    found.push_back(stack.back());
    stack.pop_back();
    for (const AXUIElement& child : childrenOf(found.back()))
      stack.push_back(child);
  }
  return found;
}

TEST(AXReadingsDifferentialTest, aWalkInsideItsScopeSendsNothingMore) {
  for (unsigned seed = 1; seed <= 150; ++seed) {
    RandomDesktop desktop(seed, RandomDesktop::Faults::thatAreAnswers);
    AXReadings readings(desktop.applications, desktop.clock);
    const AXUIElement root = desktop.element(pids.front());
    const int limit = desktop.upTo(30);
    const std::vector<AXUIElement> single = walked(readings, root, limit);
    desktop.applications.resetCounts();
    const auto scope = readings.open({{root}, {AXAttribute::role, AXAttribute::children}, limit});
    EXPECT_LE(desktop.applications.count("batch"), single.size() + 1) << "seed " << seed;
    ASSERT_EQ(walked(readings, root, limit), single) << "seed " << seed;
    for (const AXUIElement& element : single)
      (void)readings.copyAttribute(element, AXAttribute::role);
    EXPECT_EQ(desktop.applications.count("read"), 0U) << "seed " << seed;
  }
}

}  // namespace
}  // namespace tallyfox::mac_os
