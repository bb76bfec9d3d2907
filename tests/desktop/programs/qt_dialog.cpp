// The dialog of dialog_program.py in Qt: the same arguments, commands, output and exit status.

#include <signal.h>
#include <unistd.h>

#include <QAccessible>
#include <QAccessibleWidget>
#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTimer>
#include <QVBoxLayout>
#include <cstdio>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr int firstStatus = 10;

struct ButtonPlan {
  QString label;
  QString kind;
};

using Hit = std::function<void(const QString& how)>;

void say(const QString& line) {
  std::printf("%s\n", qPrintable(line));
  std::fflush(stdout);
}

QString obeyedBy(const QString& kind) {
  if (kind == "space" || kind == "return" || kind == "mouse" || kind == "nothing") return kind;
  return kind == "area" ? "mouse" : "press";
}

/// A button, or something that looks like one, which says itself what hit it.
template <typename Widget>
class Probe : public Widget {
 public:
  explicit Probe(Hit hit) : hit_(std::move(hit)) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Space) hit_("space");
    if (event->key() == Qt::Key_Return) hit_("return");
  }
  void keyReleaseEvent(QKeyEvent* /*event*/) override {}
  void mousePressEvent(QMouseEvent* event) override {
    const QPointF distance = event->position() - QRectF(this->rect()).center();
    hit_(std::abs(distance.x()) <= 2 && std::abs(distance.y()) <= 2 ? "mouse" : "mouse off centre");
  }
  void mouseReleaseEvent(QMouseEvent* /*event*/) override {}

 private:
  Hit hit_;
};

/// A button to accessibility, without an action that presses.
QAccessibleInterface* areaInterface(const QString& /*className*/, QObject* object) {
  auto* widget = qobject_cast<QWidget*>(object);
  if (widget == nullptr || !widget->property("area").isValid()) return nullptr;
  return new QAccessibleWidget(widget, QAccessible::Button, widget->property("area").toString());
}

class Dialog : public QDialog {
 public:
  using OnHit = std::function<void(Dialog& dialog, const ButtonPlan& button, const QString& how)>;

  Dialog(int number, const QString& title, const QString& text, const QList<ButtonPlan>& buttons,
         const QString& defaultLabel, const OnHit& onHit, QWidget* parent)
      : QDialog(parent), number_(number), buttons_(buttons) {
    setWindowTitle(title);
    setModal(true);
    resize(420, 160);
    text_ = new QLabel(text);
    auto* row = new QHBoxLayout;
    for (const ButtonPlan& plan : buttons) {
      QWidget* widget = made(plan, [this, plan, onHit](const QString& how) { onHit(*this, plan, how); });
      row->addWidget(widget);
      if (plan.label == defaultLabel) makeDefault(*widget);
      widgets_.push_back(widget);
    }
    auto* column = new QVBoxLayout(this);
    column->addWidget(text_);
    column->addLayout(row);
    show();
  }

  [[nodiscard]] int number() const { return number_; }
  [[nodiscard]] QLabel& text() { return *text_; }
  /// Says its text to assistive technologies alone.
  void describe() {
    setAccessibleDescription(text_->text());
    text_->clear();
  }
  [[nodiscard]] int placeOf(const QString& label) const {
    for (qsizetype place = 0; place < buttons_.size(); ++place)
      if (buttons_[place].label == label) return static_cast<int>(place);
    return -1;
  }
  [[nodiscard]] QWidget& widget(const QString& label) { return *widgets_.at(static_cast<std::size_t>(placeOf(label))); }

 private:
  static void makeDefault(QWidget& widget) {
    if (auto* button = qobject_cast<QPushButton*>(&widget)) button->setDefault(true);
    widget.setFocus();
  }

  static QWidget* made(const ButtonPlan& plan, const Hit& hit) {
    if (plan.kind == "area") {
      auto* area = new Probe<QWidget>(hit);
      area->setProperty("area", plan.label);
      area->setFocusPolicy(Qt::StrongFocus);
      area->setMinimumSize(90, 30);
      return area;
    }
    const bool isOrdinary = obeyedBy(plan.kind) == "press";
    QPushButton* button = isOrdinary ? new QPushButton : new Probe<QPushButton>(hit);
    button->setText(plan.label);
    connect(button, &QPushButton::clicked, [hit] { hit("press"); });
    return button;
  }

  int number_;
  QList<ButtonPlan> buttons_;
  QLabel* text_ = nullptr;
  std::vector<QWidget*> widgets_;
};

class Program {
 public:
  explicit Program(const QStringList& words) : title_(words.at(1)), text_(words.at(2)) {
    for (const QString& word : words.sliced(3)) {
      if (word.startsWith("--default="))
        default_ = word.section('=', 1);
      else if (word == "--described")
        isDescribed_ = true;
      else
        buttons_.push_back(planOf(word));
    }
    open(text_, buttons_);
    QObject::connect(&commands_, &QSocketNotifier::activated, [this] { readCommands(); });
  }

 private:
  static ButtonPlan planOf(const QString& word) { return {word.section('=', 0, 0), word.section('=', 1)}; }

  Dialog& open(const QString& text, const QList<ButtonPlan>& buttons) { return open(text, buttons, title_, nullptr); }
  Dialog& open(const QString& text, const QList<ButtonPlan>& buttons, const QString& title, QWidget* parent) {
    const auto onHitOf = [this](Dialog& dialog, const ButtonPlan& button, const QString& how) {
      onHit(dialog, button, how);
    };
    dialogs_.push_back(std::make_unique<Dialog>(++opened_, title, text, buttons, default_, onHitOf, parent));
    if (isDescribed_) dialogs_.back()->describe();
    return *dialogs_.back();
  }
  void askBack(const QString& title, Dialog& parent) {
    open("Are you sure that you really want to erase it?", {{"No", "press"}, {"Yes", "press"}}, title, &parent).exec();
  }

  void onHit(Dialog& dialog, const ButtonPlan& button, const QString& how) {
    const QString mark = dialog.number() == 1 ? QString() : QString("%1: ").arg(dialog.number());
    say(mark + button.label + ' ' + how);
    if (how.section(' ', 0, 0) != obeyedBy(button.kind)) return;
    const int number = dialog.number();
    if (button.kind == "disable") return dialog.widget(button.label).setEnabled(false);
    if (button.kind == "relabel") return static_cast<QPushButton&>(dialog.widget(button.label)).setText("Retry");
    if (button.kind == "crash") _exit(99);
    if (button.kind == "late")
      return QTimer::singleShot(500, [this, number, label = button.label] { finish(number, label); });
    if (button.kind == "stop") kill(getpid(), SIGSTOP);
    if (button.kind == "nest") askBack("Really?", dialog);
    if (button.kind == "alike") askBack(title_, dialog);
    finish(number, button.label);
  }

  void finish(int number, const QString& label) {
    const auto dialog = std::ranges::find(dialogs_, number, [](const auto& each) { return each->number(); });
    if (dialog == dialogs_.end()) return;
    const int status = firstStatus + (*dialog)->placeOf(label);
    close(dialog);
    if (dialogs_.empty()) QApplication::exit(status);
  }

  /// The dialog may be in the midst of an event.
  void close(std::vector<std::unique_ptr<Dialog>>::iterator dialog) {
    (*dialog)->hide();
    dialog->release()->deleteLater();
    dialogs_.erase(dialog);
  }

  void readCommands() {
    char text[4096];
    const ssize_t length = read(STDIN_FILENO, text, sizeof(text));
    if (length <= 0) return commands_.setEnabled(false);
    for (const QString& line : QString::fromUtf8(text, length).split('\n', Qt::SkipEmptyParts)) {
      carryOut(line.section(' ', 0, 0), line.section(' ', 1));
      say("done");
    }
  }

  void carryOut(const QString& command, const QString& rest) {
    if (command == "disable") dialogs_.front()->widget(rest).setEnabled(false);
    if (command == "text") dialogs_.front()->text().setText(rest);
    if (command == "twin") open(text_, buttons_);
    if (command == "close" || command == "replace") close(dialogs_.begin());
    if (command != "replace") return;
    QList<ButtonPlan> buttons;
    for (const QString& word : rest.split('|').sliced(1))
      buttons.push_back(planOf(word));
    open(rest.section('|', 0, 0), buttons);
  }

  QString title_;
  QString text_;
  QString default_;
  bool isDescribed_ = false;
  QList<ButtonPlan> buttons_;
  int opened_ = 0;
  std::vector<std::unique_ptr<Dialog>> dialogs_;
  QSocketNotifier commands_{STDIN_FILENO, QSocketNotifier::Read};
};

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName("dialog");
  QApplication::setQuitOnLastWindowClosed(false);
  QAccessible::installFactory(areaInterface);
  const Program program(QApplication::arguments());
  return QApplication::exec();
}
