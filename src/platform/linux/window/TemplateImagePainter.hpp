#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>

#include "ui/AppBrand.hpp"
#include "ui/MenuBarIcon.hpp"

class QPainter;

namespace tallyfox::linux_os {

[[nodiscard]] QColor qtColor(const Color& color);

/// Draws the image in one colour, its top left corner at the painter's origin and a point to each of its units. The
/// painter is left as it was.
void drawTemplateImage(QPainter& painter, const TemplateImage& image, const QColor& color);

/// The image on a transparent ground at so many device pixels to the point, also where that is no whole number. It has
/// that device pixel ratio, and is rounded up to whole pixels at the right and at the bottom.
[[nodiscard]] QImage renderedTemplateImage(const TemplateImage& image, const QColor& color, double pixelsPerPoint);

/// The image as an icon that is sharp at device pixel ratios of 1, 1.25, 1.5 and 2.
[[nodiscard]] QIcon templateIcon(const TemplateImage& image, const QColor& color);

}  // namespace tallyfox::linux_os
