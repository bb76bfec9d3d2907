#pragma once

#include <QImage>
#include <QWidget>
#include <optional>
#include <string>

#include "model/GrayscaleImage.hpp"

namespace tallyfox::linux_os {

/// The pairing code, black on white in every appearance. Each module covers a whole number of the screen's pixels, so
/// that no scale blurs an edge. Assistive programs see an image.
class CodeView : public QWidget {
 public:
  CodeView();

  /// Hidden without an image. `caption` describes it to assistive programs.
  void apply(const std::optional<GrayscaleImage>& image, const std::string& caption);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  /// Device pixels for one module: as near to the code's side as whole pixels allow, and at least one.
  [[nodiscard]] int pixelsPerModule() const;

  std::optional<GrayscaleImage> image_;
  QImage modules_;  ///< a pixel for each module
};

/// The code with one pixel for each of its modules. An image that is no such code stays as it is.
[[nodiscard]] QImage modulesOf(const GrayscaleImage& image);

}  // namespace tallyfox::linux_os
