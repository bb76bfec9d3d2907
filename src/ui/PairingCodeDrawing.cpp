#include "ui/PairingCodeDrawing.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tallyfox {
namespace {

/// Where colours change in a row or column lies on a border between modules, and rows and columns change often enough
/// for the common divisor of those places to be a module's side.
std::size_t moduleSide(const GrayscaleImage& image) {
  std::size_t divisor = std::gcd(image.width, image.height);
  for (std::size_t y = 0; y < image.height; ++y)
    for (std::size_t x = 0; x < image.width; ++x) {
      const std::size_t at = y * image.width + x;
      if (x > 0 && image.pixels[at] != image.pixels[at - 1]) divisor = std::gcd(divisor, x);
      if (y > 0 && image.pixels[at] != image.pixels[at - image.width]) divisor = std::gcd(divisor, y);
      if (divisor == 1) return 1;
    }
  return std::max<std::size_t>(divisor, 1);
}

}  // namespace

GrayscaleImage codeModules(const GrayscaleImage& image) {
  const std::size_t step = moduleSide(image);
  GrayscaleImage modules{.width = image.width / step, .height = image.height / step, .pixels = {}};
  modules.pixels.reserve(modules.width * modules.height);
  for (std::size_t y = 0; y < modules.height; ++y)
    for (std::size_t x = 0; x < modules.width; ++x)
      modules.pixels.push_back(image.pixels[y * step * image.width + x * step]);
  return modules;
}

std::vector<CodeRun> codeRuns(const GrayscaleImage& modules) {
  std::vector<CodeRun> runs;
  const auto isBlack = [&](std::size_t x, std::size_t y) { return modules.pixels[y * modules.width + x] == 0; };
  for (std::size_t y = 0; y < modules.height; ++y)
    for (std::size_t x = 0; x < modules.width; ++x) {
      const std::size_t start = x;
      while (x < modules.width && isBlack(x, y))
        ++x;
      if (x > start) runs.push_back({.x = start, .y = y, .length = x - start});
    }
  return runs;
}

int pixelsPerModule(std::size_t modules, double side, double scale) {
  if (modules == 0) return 1;
  return std::max(static_cast<int>(std::lround(side * scale / static_cast<double>(modules))), 1);
}

}  // namespace tallyfox
