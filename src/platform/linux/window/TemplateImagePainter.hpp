#pragma once

#include <QColor>

#include "ui/AppBrand.hpp"
#include "ui/MenuBarIcon.hpp"

class QPainter;

namespace tallyfox::linux_os {

[[nodiscard]] QColor qtColor(const Color& color);

/// Draws the image in one colour, its top left corner at the painter's origin and a point to each of its units. The
/// painter is left as it was.
void drawTemplateImage(QPainter& painter, const TemplateImage& image, const QColor& color);

}  // namespace tallyfox::linux_os
