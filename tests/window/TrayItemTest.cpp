// The tray item: one menu, the icon in the colour of the appearance, square, redrawn only when the drawing changes; a
// click opens the window.

#include "platform/linux/window/TrayItem.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QPainter>
#include <algorithm>
#include <cstdlib>
#include <map>

#include "window/WindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;

class TrayItemTest : public testing::Test {
 protected:
  [[nodiscard]] QSystemTrayIcon& icon() { return const_cast<QSystemTrayIcon&>(tray.icon()); }
  [[nodiscard]] QImage drawing(int side = 44) { return icon().icon().pixmap(side).toImage(); }

  std::vector<ApplicationMenuAction> chosen;
  int openings = 0;
  ApplicationActions menu{[this](ApplicationMenuAction action) { chosen.push_back(action); }};
  TrayItem tray{menu, Appearance::light, [this] { ++openings; }};
};

/// The colour of most of what is fully painted.
QRgb inkOf(const QImage& image) {
  std::map<QRgb, int> counts;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (qAlpha(image.pixel(x, y)) == 255) ++counts[image.pixel(x, y)];
  return std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; })->first;
}

TEST_F(TrayItemTest, holdsTheApplicationMenuAndAWayToTheWindow) {
  std::vector<std::string> titles;
  for (const QAction* action : tray.menu().actions())
    titles.push_back(action->isSeparator() ? "-" : action->text().toStdString());
  EXPECT_THAT(titles,
              ElementsAre("Open Tallyfox", "-", "About Tallyfox", "Check for Updates...", "-", "Quit Tallyfox"));
  EXPECT_EQ(icon().contextMenu(), &tray.menu());
  EXPECT_EQ(icon().toolTip(), "Tallyfox");
  tray.menu().actions().front()->trigger();
  EXPECT_EQ(openings, 1);
  tray.menu().actions().back()->trigger();
  EXPECT_THAT(chosen, ElementsAre(ApplicationMenuAction::quit));
}

TEST_F(TrayItemTest, opensTheWindowByAClickAndByNothingElse) {
  Q_EMIT icon().activated(QSystemTrayIcon::Trigger);
  EXPECT_EQ(openings, 1);
  for (const auto reason : {QSystemTrayIcon::Context, QSystemTrayIcon::DoubleClick, QSystemTrayIcon::MiddleClick})
    Q_EMIT icon().activated(reason);
  EXPECT_EQ(openings, 1);
}

TEST_F(TrayItemTest, disablesUpdatesUntilTold) {
  const QAction* check = tray.menu().actions().at(3);
  EXPECT_FALSE(check->isEnabled());
  menu.setCanCheckForUpdates(true);
  EXPECT_TRUE(check->isEnabled());
  menu.setCanCheckForUpdates(false);
  EXPECT_FALSE(check->isEnabled());
}

TEST_F(TrayItemTest, drawsInTheColourOfTheAppearance) {
  EXPECT_EQ(inkOf(drawing(96)), pixelOf(AppTheme::of(Appearance::light).text));
  tray.setAppearance(Appearance::dark);
  EXPECT_EQ(inkOf(drawing(96)), pixelOf(AppTheme::of(Appearance::dark).text));
}

TEST_F(TrayItemTest, standsOutFromPanelsLightAndDark) {
  for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
    tray.setAppearance(appearance);
    for (const QColor panel : {QColor(Qt::black), QColor(64, 64, 64), QColor(230, 230, 230), QColor(Qt::white)}) {
      QImage shown(48, 48, QImage::Format_RGB32);
      shown.fill(panel);
      QPainter(&shown).drawImage(0, 0, drawing(48));
      int contrasting = 0;
      for (int y = 0; y < shown.height(); ++y)
        for (int x = 0; x < shown.width(); ++x)
          if (std::abs(shown.pixelColor(x, y).lightness() - panel.lightness()) > 90) ++contrasting;
      EXPECT_GT(contrasting, 200) << panel.name().toStdString();
    }
  }
}

TEST_F(TrayItemTest, drawsSquaresInTheSizesOfPanels) {
  for (const int side : {16, 22, 24, 32, 44, 48}) {
    const QImage image = drawing(side);
    EXPECT_EQ(image.size(), QSize(side, side));
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
  }
}

TEST_F(TrayItemTest, redrawsOnlyForTheDot) {
  const QImage plain = drawing();
  const qint64 first = icon().icon().cacheKey();
  tray.showPendingCount(0);
  EXPECT_EQ(icon().icon().cacheKey(), first);
  tray.showPendingCount(1);
  const qint64 dotted = icon().icon().cacheKey();
  EXPECT_NE(drawing(), plain);
  tray.showPendingCount(57);
  EXPECT_EQ(icon().icon().cacheKey(), dotted);
  tray.showPendingCount(0);
  EXPECT_EQ(drawing(), plain);
}

}  // namespace
}  // namespace tallyfox::linux_os
