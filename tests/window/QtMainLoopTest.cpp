// The main queue of a program with windows: a main queue like any other, which goes on while a menu or a dialog waits.

#include "platform/linux/window/QtMainLoop.hpp"

#include <QCoreApplication>
#include <QEventLoop>

#include "platform/MainLoopContract.hpp"

namespace tallyfox::linux_os {
namespace {

/// The application object is that of all window tests.
struct QtWorld {
  using Loop = QtMainLoop;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, MainLoops, QtWorld);
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, MainLoopsDeathTest, QtWorld);

using QtMainLoopTest = MainLoops<QtWorld>;

TEST_F(QtMainLoopTest, goesOnInTheLoopOfAnOpenMenuAndEndsOutOfIt) {
  QtMainLoop loop;
  std::string order;
  loop.post([&] {
    order += 'a';
    QEventLoop menu;
    loop.post([&] { order += 'b'; });
    const auto timer = loop.after(Seconds{0.01}, [&] {
      order += 'c';
      loop.quit();
      menu.quit();
    });
    menu.exec();
    order += 'd';
  });
  loop.run();
  EXPECT_EQ(order, "abcd");
}

TEST_F(QtMainLoopTest, keepsItsTimersGoingInTheLoopThatATimerOpened) {
  QtMainLoop loop;
  std::string order;
  QEventLoop menu;
  const auto inside = loop.after(Seconds{0.02}, [&] {
    order += 'b';
    menu.quit();
  });
  const auto opening = loop.after(Seconds{0.01}, [&] {
    order += 'a';
    menu.exec();
    order += 'c';
    loop.quit();
  });
  loop.run();
  EXPECT_EQ(order, "abc");
}

TEST_F(QtMainLoopTest, endsWhenTheDesktopEndsTheApplication) {
  QtMainLoop loop;
  loop.post([] { QCoreApplication::quit(); });
  loop.run();
}

}  // namespace
}  // namespace tallyfox::linux_os
