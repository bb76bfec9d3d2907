#pragma once

#include <cstddef>

#include "base/Bytes.hpp"

namespace tallyfox {

/// A picture as a plain value, for whichever toolkit is to show it.
struct GrayscaleImage {
  std::size_t width = 0;   ///< pixels
  std::size_t height = 0;  ///< pixels
  Bytes pixels;            ///< width * height, row by row from the top left; 0 is black, 255 white

  bool operator==(const GrayscaleImage&) const = default;
};

}  // namespace tallyfox
