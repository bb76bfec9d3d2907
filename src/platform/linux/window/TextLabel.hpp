#pragma once

#include <QLabel>
#include <string>

#include "ui/AppTheme.hpp"

namespace tallyfox::linux_os {

/// Plain text, whatever it contains, that wraps rather than widen what it stands in: between words, and within a word
/// that is longer than a line. Assistive programs see a label named as its text.
class TextLabel : public QLabel {
 public:
  struct Look {
    TextRole role = TextRole::primary;
    double relativeSize = 1;  ///< to the owner's own font size
    QFont::Weight weight = QFont::Normal;
    bool isCentred = false;  ///< else at the leading edge
  };
  explicit TextLabel(Look look);

  /// Touches nothing where the text is shown already. An empty text hides the label.
  void showText(const std::string& text);
  void setRole(TextRole role);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;
  [[nodiscard]] int heightForWidth(int width) const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  bool isCentred_;
};

}  // namespace tallyfox::linux_os
