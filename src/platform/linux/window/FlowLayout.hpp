#pragma once

#include <QLayout>
#include <memory>
#include <vector>

namespace tallyfox::linux_os {

/// Widgets side by side from the leading edge, each as wide as it wants to be, in further lines where one is too short.
/// Hidden ones take no place, and without any the layout takes none.
class FlowLayout : public QLayout {
 public:
  struct Gaps {
    int between = 0;
    int above = 0;
    int overhang = 0;  ///< so far the widgets stand out at both sides: room around what they show
  };
  explicit FlowLayout(Gaps gaps);
  ~FlowLayout() override;

  void addItem(QLayoutItem* item) override;
  [[nodiscard]] int count() const override;
  [[nodiscard]] QLayoutItem* itemAt(int index) const override;
  QLayoutItem* takeAt(int index) override;
  [[nodiscard]] Qt::Orientations expandingDirections() const override;
  [[nodiscard]] bool hasHeightForWidth() const override;
  [[nodiscard]] int heightForWidth(int width) const override;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSize() const override;
  void setGeometry(const QRect& area) override;

 private:
  /// The height that the items take in an area this wide.
  int arrange(const QRect& area, bool isApplied) const;

  Gaps gaps_;
  std::vector<std::unique_ptr<QLayoutItem>> items_;
};

}  // namespace tallyfox::linux_os
