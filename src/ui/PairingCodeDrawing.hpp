#pragma once

#include <cstddef>
#include <vector>

#include "model/GrayscaleImage.hpp"

namespace tallyfox {

/// The code with one pixel for each of its modules. An image that is no such code stays as it is.
[[nodiscard]] GrayscaleImage codeModules(const GrayscaleImage& image);

/// Black modules side by side, in modules from the top left.
struct CodeRun {
  std::size_t x = 0;
  std::size_t y = 0;
  std::size_t length = 0;
  bool operator==(const CodeRun&) const = default;
};
/// Everything that is black in an image with one pixel for each module, row by row.
[[nodiscard]] std::vector<CodeRun> codeRuns(const GrayscaleImage& modules);

/// How many of the screen's pixels one of so many modules in a row covers on each side: as near to `side` points as
/// whole pixels allow, and at least one. `scale` pixels make a point.
[[nodiscard]] int pixelsPerModule(std::size_t modules, double side, double scale);

}  // namespace tallyfox
