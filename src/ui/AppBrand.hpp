#pragma once

namespace tallyfox {

/// An opaque colour, sRGB components from 0 to 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  bool operator==(const Color&) const = default;
};

/// The product's own colours.
namespace app_brand {
inline constexpr Color ink{0.09, 0.12, 0.14};          ///< dark text and drawing
inline constexpr Color green{0.16, 0.78, 0.34};        ///< positive accents
inline constexpr Color amber{0.95, 0.58, 0.16};        ///< warning accents
inline constexpr Color successPill{0.04, 0.36, 0.18};  ///< background of positive pills
inline constexpr Color warningPill{0.58, 0.30, 0.06};  ///< background of warning pills
}  // namespace app_brand

}  // namespace tallyfox
