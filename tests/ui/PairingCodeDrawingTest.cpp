// How the pairing code comes to the screen: its modules found again in the picture of any scale, and each of them a
// whole number of pixels.

#include "ui/PairingCodeDrawing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Every module `scale` pixels wide and high.
GrayscaleImage enlarged(const GrayscaleImage& modules, std::size_t scale) {
  GrayscaleImage image{.width = modules.width * scale, .height = modules.height * scale, .pixels = {}};
  for (std::size_t y = 0; y < image.height; ++y)
    for (std::size_t x = 0; x < image.width; ++x)
      image.pixels.push_back(modules.pixels[y / scale * modules.width + x / scale]);
  return image;
}

GrayscaleImage randomModules(std::size_t side, unsigned seed) {
  std::mt19937 random(seed);
  GrayscaleImage modules{.width = side, .height = side, .pixels = {}};
  for (std::size_t i = 0; i < side * side; ++i)
    modules.pixels.push_back(random() % 2 == 0 ? 0 : 255);
  return modules;
}

TEST(CodeModules, findsThePixelsOfOneModule) {
  for (const std::size_t scale : {1U, 2U, 3U, 7U, 10U})
    for (const std::size_t side : {21U, 29U, 61U}) {
      const GrayscaleImage modules = randomModules(side, static_cast<unsigned>(side + scale));
      EXPECT_EQ(codeModules(enlarged(modules, scale)), modules) << scale;
    }
}

TEST(CodeModules, leavesAnImageThatIsNoCodeAsItIs) {
  const GrayscaleImage stripes{.width = 3, .height = 1, .pixels = {0, 255, 0}};
  EXPECT_EQ(codeModules(stripes), stripes);
  EXPECT_EQ(codeModules({.width = 4, .height = 4, .pixels = Bytes(16, 255)}),
            (GrayscaleImage{.width = 1, .height = 1, .pixels = {255}}));
  EXPECT_EQ(codeModules({}), GrayscaleImage{});
}

TEST(CodeRuns, coverExactlyWhatIsBlack) {
  EXPECT_THAT(codeRuns({.width = 3, .height = 2, .pixels = {0, 0, 255, 255, 255, 0}}),
              ElementsAre(CodeRun{.x = 0, .y = 0, .length = 2}, CodeRun{.x = 2, .y = 1, .length = 1}));
  EXPECT_THAT(codeRuns({.width = 2, .height = 1, .pixels = {255, 255}}), IsEmpty());
  EXPECT_THAT(codeRuns({}), IsEmpty());
  const GrayscaleImage modules = randomModules(33, 5);
  GrayscaleImage drawn{.width = 33, .height = 33, .pixels = Bytes(33U * 33U, 255)};
  for (const CodeRun& run : codeRuns(modules))
    for (std::size_t x = run.x; x < run.x + run.length; ++x)
      drawn.pixels[run.y * 33 + x] = 0;
  EXPECT_EQ(drawn, modules);
}

TEST(PixelsPerModule, comesAsNearToTheSideAsWholePixelsAllow) {
  EXPECT_EQ(pixelsPerModule(65, 208, 1), 3);
  EXPECT_EQ(pixelsPerModule(65, 208, 2), 6);
  EXPECT_EQ(pixelsPerModule(29, 208, 2), 14);
  EXPECT_EQ(pixelsPerModule(500, 208, 1), 1) << "never less";
  EXPECT_EQ(pixelsPerModule(0, 208, 2), 1);
}

}  // namespace
}  // namespace tallyfox
