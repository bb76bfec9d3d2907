#pragma once

#include <string>

#include "ui/ApplicationIcon.hpp"

namespace tallyfox {

/// Drawings as SVG documents. Strokes become filled outlines: desktops recolour a symbolic icon by the fill of its
/// shapes alone, and would fill a stroked one in.

/// In the colour that its surroundings give it.
[[nodiscard]] std::string svgText(const TemplateImage& image);
[[nodiscard]] std::string svgText(const TemplateImage& image, const Color& color);
[[nodiscard]] std::string svgText(const ApplicationIcon& icon);

}  // namespace tallyfox
