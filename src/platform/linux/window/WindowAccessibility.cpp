#include "platform/linux/window/WindowAccessibility.hpp"

#include <QAccessible>
#include <QAccessibleWidget>

#include "platform/linux/window/CardView.hpp"
#include "platform/linux/window/CodeView.hpp"
#include "platform/linux/window/StatusWindow.hpp"

namespace tallyfox::linux_os {
namespace {

QAccessibleInterface* describe(const QString& /*className*/, QObject* object) {
  if (auto* window = dynamic_cast<StatusWindow*>(object)) return new QAccessibleWidget(window, QAccessible::Window);
  if (auto* card = dynamic_cast<CardView*>(object)) return new QAccessibleWidget(card, QAccessible::Grouping);
  if (auto* code = dynamic_cast<CodeView*>(object)) return new QAccessibleWidget(code, QAccessible::Graphic);
  return nullptr;
}

}  // namespace

void describeOwnWidgets() {
  QAccessible::removeFactory(describe);
  QAccessible::installFactory(describe);
}

}  // namespace tallyfox::linux_os
