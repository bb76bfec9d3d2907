#pragma once

#include <QWidget>
#include <optional>
#include <string>
#include <vector>

#include "model/GrayscaleImage.hpp"
#include "ui/PairingCodeDrawing.hpp"

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
  [[nodiscard]] int modulePixels() const;  ///< of the device, for one module
  [[nodiscard]] int codePixels() const;    ///< for all modules in a row

  std::optional<GrayscaleImage> image_;
  GrayscaleImage modules_;  ///< a pixel for each module
  std::vector<CodeRun> runs_;
};

}  // namespace tallyfox::linux_os
