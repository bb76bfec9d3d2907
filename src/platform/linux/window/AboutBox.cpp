#include "platform/linux/window/AboutBox.hpp"

#include <QAction>
#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>

#include "platform/linux/window/ApplicationIconPainter.hpp"
#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/TextLabel.hpp"
#include "platform/linux/window/ThemePalette.hpp"
#include "ui/AboutTexts.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int margin = 20;
constexpr int spacing = 6;
constexpr int boxWidth = 380;
constexpr double nameSize = 1.5;
constexpr double noticeSize = 0.92;

constexpr const char* notices =
    "This program uses Qt, libsecret and libsystemd under the GNU Lesser General Public License, OpenSSL under the "
    "Apache License, Boost under the Boost Software License, ICU under the Unicode License, and fmt, JSON for Modern "
    "C++, the QR Code generator library and XCB under the MIT License.";

void addIcon(QBoxLayout& column, const QWidget& box) {
  constexpr int iconSide = 64;
  auto* icon = new QLabel;
  icon->setPixmap(applicationWindowIcon().pixmap(QSize(iconSide, iconSide), box.devicePixelRatioF()));
  icon->setAlignment(Qt::AlignCenter);
  icon->setAccessibleName(localized("Tallyfox"));
  column.addWidget(icon);
}

void addText(QBoxLayout& column, const std::string& text, TextLabel::Look look) {
  look.isCentred = true;
  auto* label = new TextLabel(look);
  label->showText(text);
  column.addWidget(label);
}

}  // namespace

AboutBox::AboutBox(const std::string& version, Appearance appearance) {
  setAttribute(Qt::WA_DeleteOnClose);
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowTitle(localized("About Tallyfox"));
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(margin, margin, margin, margin);
  column->setSpacing(spacing);
  addIcon(*column, *this);
  addText(*column, "Tallyfox", {.relativeSize = nameSize, .weight = QFont::Bold});
  addText(*column, "Version " + version, {.role = TextRole::secondary});
  column->addSpacing(spacing);
  addText(*column, about_texts::purpose, {});
  column->addSpacing(spacing);
  addText(*column, about_texts::licence, {.role = TextRole::secondary, .relativeSize = noticeSize});
  addText(*column, notices, {.role = TextRole::secondary, .relativeSize = noticeSize});
  column->addSpacing(spacing);
  auto* buttons = new QDialogButtonBox;
  QPushButton* closing = buttons->addButton(localized("Close"), QDialogButtonBox::RejectRole);
  closing->setDefault(true);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
  column->addWidget(buttons);
  auto* shortcut = new QAction(this);
  shortcut->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_W));
  connect(shortcut, &QAction::triggered, this, &QDialog::close);
  addAction(shortcut);
  setAppearance(appearance);
  setFixedSize(boxWidth, column->totalHeightForWidth(boxWidth));
}

void AboutBox::setAppearance(Appearance appearance) {
  setPalette(paletteOf(AppTheme::of(appearance)));
}

}  // namespace tallyfox::linux_os
