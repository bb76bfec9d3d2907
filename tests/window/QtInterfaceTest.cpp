// The whole interface as the agent uses it: menus, window, tray and about box joined, and texts in another language
// where a translation is at hand.

#include "platform/linux/window/QtInterface.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTranslator>

#include "platform/memory/VirtualTime.hpp"
#include "window/WindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class QtInterfaceTest : public testing::Test {
 protected:
  [[nodiscard]] QAction* menuEntry(const std::string& title) const {
    for (QAction* action : interface.tray()->menu().actions())
      if (action->text().toStdString() == title) return action;
    return nullptr;
  }

  memory::VirtualTime time;
  std::shared_ptr<SerialQueue> queue = time.makeQueue("main");
  RecordingAgent agent;
  QtInterface interface{
      {.version = "1.2.3", .sessionBusAddress = "unix:path=/nonexistent/bus", .translations = "/nonexistent"},
      agent.actions(),
      *queue};
};

TEST_F(QtInterfaceTest, showsNothingUntilToldTo) {
  EXPECT_EQ(interface.tray(), nullptr);
  interface.refreshStatusWindow();
  interface.showPendingCount(3);
  EXPECT_EQ(interface.statusWindow().window(), nullptr);
  EXPECT_EQ(agent.snapshots, 0);
  EXPECT_FALSE(QApplication::quitOnLastWindowClosed());
}

TEST_F(QtInterfaceTest, joinsMenusAndWindowToTheAgent) {
  interface.configureMenus();
  const TrayItem* tray = interface.tray();
  interface.configureMenus();
  EXPECT_EQ(interface.tray(), tray) << "one item";
  menuEntry("Open Tallyfox")->trigger();
  settle();
  ASSERT_NE(interface.statusWindow().window(), nullptr);
  EXPECT_TRUE(interface.statusWindow().window()->isVisible());
  interface.refreshStatusWindow();
  EXPECT_EQ(agent.snapshots, 2);
  menuEntry("Quit Tallyfox")->trigger();
  EXPECT_THAT(agent.calls, ElementsAre("quit"));
}

TEST_F(QtInterfaceTest, checksForUpdatesOnlyWhereThatIsPossible) {
  interface.configureMenus();
  menuEntry("Check for Updates...")->trigger();
  EXPECT_THAT(agent.calls, IsEmpty());
  interface.enableCheckForUpdates(true);
  menuEntry("Check for Updates...")->trigger();
  EXPECT_THAT(agent.calls, ElementsAre("checkForUpdates"));
}

TEST_F(QtInterfaceTest, tellsAboutItselfInOneBox) {
  interface.configureMenus();
  menuEntry("About Tallyfox")->trigger();
  settle();
  const QPointer<AboutBox> box = interface.aboutBox();
  ASSERT_FALSE(box.isNull());
  EXPECT_NE(shown<QLabel>(*box, "Version 1.2.3"), nullptr);
  std::string all;
  for (const QLabel* label : box->findChildren<QLabel*>())
    all += label->text().toStdString() + "\n";
  for (const char* word : {"Tallyfox", "paired phone", "Apache License, Version 2.0", "Qt", "OpenSSL", "Boost"})
    EXPECT_THAT(all, HasSubstr(word));
  menuEntry("About Tallyfox")->trigger();
  EXPECT_EQ(interface.aboutBox(), box);
  for (const QLabel* label : box->findChildren<QLabel*>()) {
    EXPECT_TRUE(box->rect().contains(label->geometry())) << label->text().toStdString();
    EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
  }
  click(*box, "Close");
  settle();
  EXPECT_EQ(interface.aboutBox(), nullptr);
}

TEST_F(QtInterfaceTest, recoloursAllThatIsOpen) {
  const PaletteScope scope(QPalette(QColor(230, 230, 230), Qt::white));
  settle();
  interface.configureMenus();
  interface.showStatusWindow();
  menuEntry("About Tallyfox")->trigger();
  settle();
  const auto corner = [](QWidget* widget) { return widget->grab().toImage().pixel(2, 2); };
  const QRgb light = pixelOf(AppTheme::of(Appearance::light).windowBackground);
  EXPECT_EQ(corner(interface.statusWindow().window()), light);
  QApplication::setPalette(QPalette(QColor(40, 40, 40), QColor(20, 20, 20)));
  settle();
  const QRgb dark = pixelOf(AppTheme::of(Appearance::dark).windowBackground);
  EXPECT_EQ(corner(interface.statusWindow().window()), dark);
  EXPECT_EQ(corner(interface.aboutBox()), dark);
  EXPECT_EQ(interface.tray()->menu().palette().color(QPalette::Window).rgb(), dark);
}

/// Puts every text that it is asked for in brackets.
class BracketTranslator : public QTranslator {
 public:
  [[nodiscard]] bool isEmpty() const override { return false; }
  [[nodiscard]] QString translate(const char* context, const char* text, const char*, int) const override {
    return std::string_view(context) == "Tallyfox" ? "[" + QString::fromUtf8(text) + "]" : QString();
  }
};

TEST(Translation, reachesEveryFixedText) {
  BracketTranslator translator;
  QCoreApplication::installTranslator(&translator);
  memory::VirtualTime time;
  const auto queue = time.makeQueue("main");
  RecordingAgent agent;
  QtInterface interface(
      {.version = "1", .sessionBusAddress = "unix:path=/nonexistent/bus", .translations = "/nonexistent"},
      agent.actions(), *queue);
  interface.configureMenus();
  interface.showStatusWindow();
  settle();
  const QWidget& window = *interface.statusWindow().window();
  QStringList texts;
  for (const QLabel* label : window.findChildren<QLabel*>())
    if (label->isVisible()) texts << label->text();
  for (const QPushButton* each : window.findChildren<QPushButton*>())
    if (each->isVisible()) texts << each->text();
  for (const QAction* action : interface.tray()->menu().actions())
    if (!action->isSeparator()) texts << action->text();
  EXPECT_GT(texts.size(), 15);
  for (const QString& text : texts)
    EXPECT_TRUE(text.startsWith("[")) << text.toStdString();
  QCoreApplication::removeTranslator(&translator);
}

}  // namespace
}  // namespace tallyfox::linux_os
