#include "platform/linux/window/StatusWindow.hpp"

#include <QAction>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollBar>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/ThemePalette.hpp"

namespace tallyfox::linux_os {
namespace {

namespace sizes = status_window_layout;

constexpr int spacing = static_cast<int>(sizes::spacing);
constexpr int leastWidth = 280;
constexpr int leastHeight = 160;

QSize wholeSize(const StatusWindowContentSize& size) {
  return {static_cast<int>(std::floor(size.width)), static_cast<int>(std::floor(size.height))};
}

drawing::Rectangle drawnRectangle(const QRect& rectangle) {
  return {.x = static_cast<double>(rectangle.x()),
          .y = static_cast<double>(rectangle.y()),
          .width = static_cast<double>(rectangle.width()),
          .height = static_cast<double>(rectangle.height())};
}

/// Takes up at once what has changed in a widget and in all that it holds: Qt would do so when the event loop is back,
/// and until then answer with the old sizes.
void settleLayouts(QWidget& root) {
  const QList<QWidget*> held = root.findChildren<QWidget*>();
  const auto settle = [](QLayout* layout) {
    if (layout == nullptr) return;
    layout->invalidate();
    layout->activate();
  };
  for (auto widget = held.crbegin(); widget != held.crend(); ++widget)
    settle((*widget)->layout());
  settle(root.layout());
}

QVBoxLayout* column() {
  auto* layout = new QVBoxLayout;
  layout->setSpacing(spacing);
  return layout;
}

}  // namespace

StatusWindow::StatusWindow(Callbacks callbacks, const QList<QAction*>& menuEntries)
    : callbacks_(std::move(callbacks)),
      header_(new StatusHeader(menuEntries)),
      update_(new StatusRowCard(callbacks_.onAction)),
      pairing_(new PairingCard(callbacks_.onAction)),
      installLocation_(new StatusRowCard(callbacks_.onAction)),
      accessibility_(new StatusRowCard(callbacks_.onAction)),
      loginItem_(new StatusRowCard(callbacks_.onAction)),
      notificationPause_(new StatusRowCard(callbacks_.onAction)),
      scroll_(new QScrollArea(this)),
      content_(new QWidget) {
  setAttribute(Qt::WA_DeleteOnClose);
  setAttribute(Qt::WA_QuitOnClose, false);
  setMinimumSize(leastWidth, leastHeight);
  arrangeContent();
  scroll_->setWidget(content_);
  scroll_->setWidgetResizable(true);
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setFocusPolicy(Qt::NoFocus);
  auto* frame = new QVBoxLayout(this);
  frame->setContentsMargins(0, 0, 0, 0);
  frame->addWidget(scroll_);
  addShortcuts(menuEntries);
}

void StatusWindow::arrangeContent() {
  auto* rows = column();
  for (StatusRowCard* row : {installLocation_, accessibility_, loginItem_, notificationPause_})
    rows->addWidget(row);
  rows->addStretch(1);
  auto* phone = column();
  phone->addWidget(pairing_);
  phone->addStretch(1);
  columns_ = new QBoxLayout(QBoxLayout::TopToBottom);
  columns_->setSpacing(spacing);
  columns_->addLayout(phone);
  columns_->addLayout(rows);
  auto* all = new QVBoxLayout(content_);
  all->setContentsMargins(static_cast<int>(sizes::sideMargin), static_cast<int>(sizes::topMargin),
                          static_cast<int>(sizes::sideMargin), static_cast<int>(sizes::bottomMargin));
  all->setSpacing(spacing);
  all->addWidget(header_);
  all->addWidget(update_);
  all->addLayout(columns_, 1);
}

void StatusWindow::addShortcuts(const QList<QAction*>& menuEntries) {
  addActions(menuEntries);
  auto* closing = new QAction(this);
  closing->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_W), QKeySequence(Qt::Key_Escape)});
  connect(closing, &QAction::triggered, this, &QWidget::close);
  addAction(closing);
}

void StatusWindow::apply(const StatusWindowModel& model) {
  if (model == model_) return;
  model_ = model;
  setWindowTitle(localized(model.title));
  header_->apply(model);
  update_->apply(model.update);
  pairing_->apply(model.pairing);
  installLocation_->apply(model.installLocation);
  accessibility_->apply(model.accessibility);
  loginItem_->apply(model.loginItem);
  notificationPause_->apply(model.notificationPause);
  fitToScreen();
}

void StatusWindow::setAppearance(Appearance appearance) {
  const QPalette palette = paletteOf(AppTheme::of(appearance));
  setPalette(palette);
  if (question_) question_->setPalette(palette);
}

void StatusWindow::ask(const ConfirmationModel& question, std::function<void()> onConfirmed) {
  if (!question_) question_ = new Confirmation(*this, question, std::move(onConfirmed));
  question_->open();
  question_->raise();
}

void StatusWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  callbacks_.onClosed();
}

void StatusWindow::keyPressEvent(QKeyEvent* event) {
  const QScrollBar& bar = *scroll_->verticalScrollBar();
  switch (event->key()) {
    case Qt::Key_Down:
      return scrollBy(1, bar.singleStep());
    case Qt::Key_Up:
      return scrollBy(-1, bar.singleStep());
    case Qt::Key_PageDown:
      return scrollBy(1, bar.pageStep());
    case Qt::Key_PageUp:
      return scrollBy(-1, bar.pageStep());
    case Qt::Key_End:
      return scrollBy(1, bar.maximum());
    case Qt::Key_Home:
      return scrollBy(-1, bar.maximum());
    default:
      return QWidget::keyPressEvent(event);
  }
}

void StatusWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!screenChanges_) {
    // Only once all widgets know of the other screen, whose pixels may have another size.
    screenChanges_ = connect(
        windowHandle(), &QWindow::screenChanged, this,
        [this] {
          watchScreen();
          fitToScreen();
        },
        Qt::QueuedConnection);
    watchScreen();
  }
}

void StatusWindow::watchScreen() {
  disconnect(areaChanges_);
  areaChanges_ = connect(screen(), &QScreen::availableGeometryChanged, this, [this] { fitToScreen(); });
}

void StatusWindow::scrollBy(int steps, int step) {
  QScrollBar* bar = scroll_->verticalScrollBar();
  bar->setValue(bar->value() + steps * step);
}

double StatusWindow::contentHeight(StatusWindowLayout kind) const {
  const bool isWide = kind == StatusWindowLayout::wide;
  const QMargins margins = content_->layout()->contentsMargins();
  const int width =
      static_cast<int>(isWide ? sizes::wideWidth : sizes::compactWidth) - margins.left() - margins.right();
  int height = margins.top() + header_->heightForWidth(width) + spacing + margins.bottom();
  if (!update_->isHidden()) height += update_->heightForWidth(width) + spacing;
  const int columnWidth = isWide ? (width - spacing) / 2 : width;
  const int phone = columns_->itemAt(0)->heightForWidth(columnWidth);
  const int rows = columns_->itemAt(1)->heightForWidth(columnWidth);
  return height + (isWide ? std::max(phone, rows) : phone + spacing + rows);
}

void StatusWindow::setLayoutKind(StatusWindowLayout kind) {
  const bool isWide = kind == StatusWindowLayout::wide;
  columns_->setDirection(isWide ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
  // Side by side the columns are equally wide; one above the other, the lower one takes the height that is left.
  columns_->setStretch(0, isWide ? 1 : 0);
  columns_->setStretch(1, 1);
}

void StatusWindow::fitToScreen() {
  settleLayouts(*content_);
  const QSize visible = screen()->availableGeometry().size();
  const StatusWindowFit fit =
      statusWindowFit({.width = static_cast<double>(visible.width()), .height = static_cast<double>(visible.height())},
                      contentHeight(StatusWindowLayout::compact), contentHeight(StatusWindowLayout::wide));
  // The owner's own size stays until the content wants another.
  if (fit == fit_) return;
  if (!fit_ || fit_->layout != fit.layout) {
    setLayoutKind(fit.layout);
    settleLayouts(*content_);
  }
  fit_ = fit;
  resize(wholeSize(fit.size));
  keepOnScreen();
}

/// A window that grows would reach below its screen where the window manager lets it.
void StatusWindow::keepOnScreen() {
  if (!isVisible()) return;
  const QRect area = screen()->availableGeometry();
  const QRect frame = frameGeometry();
  const drawing::Point kept = keptOnScreen(drawnRectangle(frame), drawnRectangle(area));
  const QPoint place(static_cast<int>(kept.x), static_cast<int>(kept.y));
  if (place != frame.topLeft()) move(place);
}

}  // namespace tallyfox::linux_os
