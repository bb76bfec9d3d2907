// A window with a tree of so many rows as its argument says: what reads it by the row pays for each.

#include <QApplication>
#include <QString>
#include <QTreeWidget>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const QStringList arguments = QApplication::arguments();
  const int rows = arguments.size() > 1 ? arguments.at(1).toInt() : 0;
  QTreeWidget tree;
  tree.setWindowTitle(QStringLiteral("Tree"));
  tree.setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Number")});
  for (int row = 0; row < rows; ++row)
    tree.addTopLevelItem(new QTreeWidgetItem({QStringLiteral("Row %1").arg(row), QString::number(row)}));
  tree.resize(400, 600);
  tree.show();
  return QApplication::exec();
}
