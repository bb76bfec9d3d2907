#pragma once

#include <vector>

#include "ui/AppBrand.hpp"
#include "ui/MenuBarIcon.hpp"

namespace tallyfox {

/// A drawing in one colour of its own.
struct IconLayer {
  TemplateImage image;
  Color color;
  bool operator==(const IconLayer&) const = default;
};

/// The icon by which menus, task bars and installers show the application: a plate, shaded from its top to its bottom,
/// and layers upon it. In points, the origin at the bottom left.
struct ApplicationIcon {
  double side = 0;
  drawing::Rectangle plate;
  double plateCornerRadius = 0;
  Color plateTop;
  Color plateBottom;
  std::vector<IconLayer> layers;  ///< each as large as the icon; drawn in this order
  bool operator==(const ApplicationIcon&) const = default;
};

/// The menu-bar icon's drawing in white, its ring filled to a badge with a dark tick. Below so many pixels there is no
/// room for margins and the signal: the icon fills its square.
inline constexpr double smallIconPixels = 32;
[[nodiscard]] ApplicationIcon applicationIcon(double pixels);

/// The menu-bar icon's drawing on a square, for a desktop that colours it.
[[nodiscard]] TemplateImage symbolicIcon();

}  // namespace tallyfox
