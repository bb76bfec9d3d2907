#include "platform/linux/window/QtInterface.hpp"

#include <QApplication>
#include <QLocale>
#include <QStyleFactory>

#include "platform/linux/window/ApplicationIconPainter.hpp"
#include "platform/linux/window/WindowAccessibility.hpp"
#include "platform/linux/window/WindowSummons.hpp"

namespace tallyfox::linux_os {

QtInterface::Language::Language(const std::filesystem::path& translations) {
  const QString directory = QString::fromStdString(translations.string());
  if (translator.load(QLocale(), QStringLiteral("tallyfox"), QStringLiteral("_"), directory))
    QCoreApplication::installTranslator(&translator);
}

QtInterface::QtInterface(Options options, InterfaceActions actions, SerialQueue& mainQueue)
    : options_(std::move(options)),
      actions_(std::move(actions)),
      language_(options_.translations),
      menu_([this](ApplicationMenuAction action) { perform(action); }),
      appearance_(options_.sessionBusAddress, [this](Appearance appearance) { setAppearance(appearance); }),
      statusWindow_({.actions = actions_, .menu = menu_, .mainQueue = mainQueue}, appearance_.appearance()) {
  describeOwnWidgets();
  // The one style that takes all its colours from the palette.
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  QApplication::setWindowIcon(applicationWindowIcon());
  // The agent goes on without a window.
  QApplication::setQuitOnLastWindowClosed(false);
}

QtInterface::~QtInterface() {
  delete aboutBox_;
}

void QtInterface::configureMenus() {
  if (!tray_) tray_.emplace(menu_, appearance_.appearance(), [this] { showStatusWindow(); });
}

void QtInterface::enableCheckForUpdates(bool enabled) {
  menu_.setCanCheckForUpdates(enabled);
}

void QtInterface::showStatusWindow() {
  statusWindow_.show();
}

void QtInterface::refreshStatusWindow() {
  statusWindow_.refresh();
}

void QtInterface::showPendingCount(std::int64_t count) {
  if (tray_) tray_->showPendingCount(count);
}

void QtInterface::perform(ApplicationMenuAction action) {
  switch (action) {
    case ApplicationMenuAction::about:
      return showAboutBox();
    case ApplicationMenuAction::checkForUpdates:
      return actions_.onCheckForUpdates();
    case ApplicationMenuAction::quit:
      return actions_.quit();
  }
}

void QtInterface::showAboutBox() {
  if (!aboutBox_) aboutBox_ = new AboutBox(options_.version, appearance_.appearance());
  summon(*aboutBox_);
}

void QtInterface::setAppearance(Appearance appearance) {
  statusWindow_.setAppearance(appearance);
  if (tray_) tray_->setAppearance(appearance);
  if (aboutBox_) aboutBox_->setAppearance(appearance);
}

}  // namespace tallyfox::linux_os
