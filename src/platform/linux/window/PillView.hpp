#pragma once

#include <QLabel>

#include "ui/StatusTexts.hpp"

namespace tallyfox::linux_os {

/// A short state in white on a rounded ground whose colour says whether all is well. Assistive programs see a label.
class PillView : public QLabel {
 public:
  PillView();

  void apply(const StatusPill& pill);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  PillRole role_ = PillRole::warning;
};

}  // namespace tallyfox::linux_os
