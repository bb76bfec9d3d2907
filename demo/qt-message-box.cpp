// A Qt message box that asks one question and reports the answer by its exit status: 0 accepted, 1 rejected.

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QString>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Sample Editor"));
  QApplication::setApplicationDisplayName(QStringLiteral("Sample Editor"));
  const QStringList words = QApplication::arguments();
  if (words.size() != 4) {
    qCritical("usage: %s QUESTION ACCEPT-LABEL REJECT-LABEL", argv[0]);
    return 2;
  }
  QMessageBox box(QMessageBox::Question, QStringLiteral("Sample Editor"), words.at(1));
  const QPushButton* accept = box.addButton(words.at(2), QMessageBox::AcceptRole);
  QPushButton* reject = box.addButton(words.at(3), QMessageBox::RejectRole);
  box.setEscapeButton(reject);
  box.exec();
  return box.clickedButton() == accept ? 0 : 1;
}
