#pragma once

#include <QApplication>
#include <QEvent>
#include <set>

namespace tallyfox::linux_os {

/// Counts the work that Qt does for widgets while it lives: layouts and paintings, and which widgets were painted.
class EventCounter : public QObject {
 public:
  EventCounter() { qApp->installEventFilter(this); }
  [[nodiscard]] int layouts() const { return layouts_; }
  [[nodiscard]] int paintings() const { return paintings_; }
  [[nodiscard]] bool wasPainted(const QObject* widget) const { return painted_.contains(widget); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::LayoutRequest) ++layouts_;
    if (event->type() == QEvent::Paint) {
      ++paintings_;
      painted_.insert(watched);
    }
    return QObject::eventFilter(watched, event);
  }

 private:
  int layouts_ = 0;
  int paintings_ = 0;
  std::set<const QObject*> painted_;
};

}  // namespace tallyfox::linux_os
