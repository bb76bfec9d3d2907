// A window that accessibility does not show is reported once, when it has been so for a while, and never again.

#include "platform/linux/UnseenWindows.hpp"

#include <gmock/gmock.h>

#include <string>

namespace tallyfox::linux_os {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Lines : public Console {
 public:
  void printLine(std::string_view line) override { all.emplace_back(line); }
  std::vector<std::string> all;
};

struct UnseenWindowsTest : ::testing::Test {
  [[nodiscard]] static XWindow window(XWindowID id, const std::string& title) {
    XWindow window;
    window.id = id;
    window.processIdentifier = 42;
    window.title = title;
    window.className = "XTerm";
    return window;
  }
  void note(const std::vector<XWindow>& unseen, milliseconds at) {
    unseenWindows.note(unseen, UnseenWindows::Clock::time_point(at));
  }

  Lines lines;
  UnseenWindows unseenWindows{lines};
};

TEST_F(UnseenWindowsTest, reportsAWindowOnceAfterAWhile) {
  note({window(1, "shell")}, milliseconds(0));
  note({window(1, "shell")}, milliseconds(1499));
  EXPECT_THAT(lines.all, IsEmpty()) << "programs show their windows first";
  note({window(1, "shell")}, milliseconds(1500));
  note({window(1, "renamed")}, milliseconds(9000));
  EXPECT_THAT(lines.all, ElementsAre("The window \"shell\" of XTerm (process 42) is not open to accessibility."));
}

TEST_F(UnseenWindowsTest, saysNothingOfAWindowThatOpensUp) {
  note({window(1, "slow")}, milliseconds(0));
  note({}, milliseconds(1000));
  note({window(1, "slow")}, milliseconds(2000));
  EXPECT_THAT(lines.all, IsEmpty()) << "the while begins anew";
}

TEST_F(UnseenWindowsTest, reportsEachWindow) {
  note({window(1, "one"), window(2, "two")}, milliseconds(0));
  note({window(1, "one"), window(2, "two"), window(3, "three")}, milliseconds(2000));
  EXPECT_THAT(lines.all, SizeIs(2));
  note({window(3, "three")}, milliseconds(4000));
  EXPECT_THAT(lines.all, SizeIs(3));
}

TEST_F(UnseenWindowsTest, anUnknownProgramIsCalledSo) {
  XWindow nameless;
  nameless.id = 1;
  note({nameless}, milliseconds(0));
  note({nameless}, milliseconds(2000));
  EXPECT_THAT(lines.all,
              ElementsAre("The window \"\" of an unknown program (process 0) is not open to accessibility."));
}

}  // namespace
}  // namespace tallyfox::linux_os
