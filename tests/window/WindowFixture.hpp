#pragma once

// What the tests of the window share: an agent that records what is asked of it, and ways to find and press what is on
// the screen by what it says.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCoreApplication>
#include <QLabel>
#include <QTest>
#include <QWidget>
#include <string>
#include <vector>

#include "platform/linux/window/TemplateImagePainter.hpp"
#include "ui/InterfaceActions.hpp"
#include "window/GalleryStates.hpp"

namespace tallyfox::linux_os {

/// Lets Qt do all that it has put off, deletions too.
inline void settle() {
  for (int round = 0; round < 3; ++round) {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

/// An agent in a state that tests choose.
class RecordingAgent {
 public:
  [[nodiscard]] InterfaceActions actions() {
    return {.snapshot =
                [this] {
                  ++snapshots;
                  return state.snapshot;
                },
            .context = [this] { return state.context; },
            .onEnableLoginItem = [this] { calls.emplace_back("enableLoginItem"); },
            .onUnpairPhone = [this] { calls.emplace_back("unpairPhone"); },
            .onCheckForUpdates = [this] { calls.emplace_back("checkForUpdates"); },
            .onPauseNotifications =
                [this](NotificationPauseOption option) {
                  static constexpr const char* names[] = {"twoHours", "fourHours", "untilTomorrow", "indefinitely"};
                  calls.push_back(std::string("pause ") + names[static_cast<int>(option)]);
                },
            .onResumeNotifications = [this] { calls.emplace_back("resume"); },
            .openAccessibilitySettings = [this] { calls.emplace_back("openAccessibilitySettings"); },
            .quit = [this] { calls.emplace_back("quit"); }};
  }

  gallery::State state = gallery::pairedState();
  std::vector<std::string> calls;
  int snapshots = 0;
};

/// A colour as a pixel has it.
inline QRgb pixelOf(const Color& color) {
  return qtColor(color).rgb();
}

/// The visible widget of this kind that says this; null without one.
template <typename Widget>
Widget* shown(const QWidget& root, const std::string& text) {
  for (Widget* widget : root.findChildren<Widget*>())
    if (widget->isVisible() && widget->text().toStdString() == text) return widget;
  return nullptr;
}

inline QAbstractButton* button(const QWidget& root, const std::string& title) {
  return shown<QAbstractButton>(root, title);
}

/// Whatever can be seen and has this name for assistive programs.
inline QWidget* named(const QWidget& root, const std::string& name) {
  for (QWidget* widget : root.findChildren<QWidget*>())
    if (widget->isVisible() && widget->accessibleName().toStdString() == name &&
        qobject_cast<QLabel*>(widget) == nullptr)
      return widget;
  return nullptr;
}

/// A click with the mouse; a test failure when there is nothing to click.
inline void click(const QWidget& root, const std::string& title) {
  QAbstractButton* found = button(root, title);
  ASSERT_NE(found, nullptr) << title;
  QTest::mouseClick(found, Qt::LeftButton);
}

/// The application's layout direction or palette as a test wants it, and afterwards as it was.
class DirectionScope {
 public:
  explicit DirectionScope(Qt::LayoutDirection direction) : before_(QApplication::layoutDirection()) {
    QApplication::setLayoutDirection(direction);
  }
  ~DirectionScope() { QApplication::setLayoutDirection(before_); }
  DirectionScope(const DirectionScope&) = delete;
  DirectionScope& operator=(const DirectionScope&) = delete;

 private:
  Qt::LayoutDirection before_;
};

class PaletteScope {
 public:
  explicit PaletteScope(const QPalette& palette) : before_(QApplication::palette()) {
    QApplication::setPalette(palette);
  }
  ~PaletteScope() { QApplication::setPalette(before_); }
  PaletteScope(const PaletteScope&) = delete;
  PaletteScope& operator=(const PaletteScope&) = delete;

 private:
  QPalette before_;
};

}  // namespace tallyfox::linux_os
