// The question before the pairing ends is asked in its own words, once, and means no unless it is told otherwise.

#include "platform/linux/window/Confirmation.hpp"

#include <gtest/gtest.h>

#include <QMessageBox>

#include "window/StatusWindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

class ConfirmationTest : public StatusWindowTest {
 protected:
  void ask() {
    window->ask(unpairConfirmation(), [this] { ++confirmed; });
    settle();
  }
  [[nodiscard]] QMessageBox* question() const { return window->findChild<QMessageBox*>(); }
  int confirmed = 0;
};

TEST_F(ConfirmationTest, asksInItsOwnWordsAndMeansNoByDefault) {
  show(gallery::pairedState().model());
  ask();
  ASSERT_NE(question(), nullptr);
  const ConfirmationModel texts = unpairConfirmation();
  EXPECT_EQ(question()->text().toStdString(), texts.title);
  EXPECT_EQ(question()->informativeText().toStdString(), texts.detail);
  EXPECT_EQ(question()->textFormat(), Qt::PlainText);
  EXPECT_EQ(question()->defaultButton()->text().toStdString(), texts.cancelTitle);
  EXPECT_EQ(question()->escapeButton()->text().toStdString(), texts.cancelTitle);
  EXPECT_TRUE(question()->isModal());
  EXPECT_GE(question()->width(), 320);
  QTest::keyClick(question()->defaultButton(), Qt::Key_Return);
  settle();
  EXPECT_EQ(question(), nullptr);
  EXPECT_EQ(confirmed, 0);
}

TEST_F(ConfirmationTest, meansNoByEscape) {
  show(gallery::pairedState().model());
  ask();
  QTest::keyClick(question(), Qt::Key_Escape);
  settle();
  EXPECT_EQ(question(), nullptr);
  EXPECT_EQ(confirmed, 0);
}

TEST_F(ConfirmationTest, isConfirmedOnceByItsButtonAlone) {
  show(gallery::pairedState().model());
  ask();
  ask();
  EXPECT_EQ(window->findChildren<QMessageBox*>().size(), 1);
  click(*question(), "Unpair");
  settle();
  EXPECT_EQ(confirmed, 1);
  EXPECT_EQ(question(), nullptr);
}

TEST_F(ConfirmationTest, isGoneWithTheWindow) {
  show(gallery::pairedState().model());
  ask();
  const QPointer<QMessageBox> open = question();
  window->close();
  settle();
  EXPECT_TRUE(open.isNull());
  EXPECT_EQ(confirmed, 0);
}

}  // namespace
}  // namespace tallyfox::linux_os
