// Pairing codes as images: an independent reader gets back every byte, the level is M and nothing else, and the pixels
// are exact squares with a margin.

#include "pairing/QRCodeRenderer.hpp"

#include <gtest/gtest.h>
#include <zbar.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <string>

#include "base/Limits.hpp"
#include "pairing/PairingPayload.hpp"

namespace tallyfox {
namespace {

/// What zbar reads, byte for byte; absent unless it finds exactly one QR code.
std::optional<Bytes> readBack(const GrayscaleImage& image) {
  zbar::ImageScanner scanner;
  scanner.set_config(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
  scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
  scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_BINARY, 1);
  zbar::Image picture(static_cast<unsigned>(image.width), static_cast<unsigned>(image.height), "Y800",
                      image.pixels.data(), image.pixels.size());
  if (scanner.scan(picture) != 1) return std::nullopt;
  const zbar::SymbolIterator symbol = picture.symbol_begin();
  return copyOfBytes(symbol->get_data());
}

std::optional<Bytes> throughTheCode(const Bytes& message, int scale) {
  const auto image = QRCodeRenderer::image(message, scale);
  return image ? readBack(*image) : std::nullopt;
}

std::string payloadOfRealSize() {
  PairingPayload payload;
  payload.backendURL = "https://relay.tallyfox.example.com:8443";
  payload.pairingID = "tallyfox-6f1c2a7e-5a0d-4f5e-9a53-0c8a3b1d2e4f";
  payload.relaySecret = std::string(64, 'a');
  payload.e2eSecret = std::string(64, '7');
  return payload.encoded();
}

/// Whether the module at column x, row y (margin not counted) is dark.
bool isDark(const GrayscaleImage& image, int scale, int x, int y) {
  const auto pixel = [&](int at) { return static_cast<std::size_t>((at + 4) * scale); };
  return image.pixels[pixel(y) * image.width + pixel(x)] == 0;
}

TEST(QRCodeRenderer, carriesAPairingPayloadUnchanged) {
  const std::string payload = payloadOfRealSize();
  EXPECT_GT(payload.size(), 280U);
  EXPECT_EQ(throughTheCode(copyOfBytes(payload), 10), copyOfBytes(payload));
}

TEST(QRCodeRenderer, carriesUtf8AsItIs) {
  const Bytes text = copyOfBytes("Grüße an 世界, “tally” 🦊");
  EXPECT_EQ(throughTheCode(text, 10), text);
}

TEST(QRCodeRenderer, carriesEveryByte) {
  Bytes every(256);
  std::iota(every.begin(), every.end(), std::uint8_t{0});
  EXPECT_EQ(throughTheCode(every, 10), every);
}

TEST(QRCodeRenderer, carriesDigitsAndCapitalsAsBytesToo) {
  const Bytes digits = copyOfBytes("0123456789");
  const Bytes capitals = copyOfBytes("HTTPS://A.B");
  EXPECT_EQ(throughTheCode(digits, 4), digits);
  EXPECT_EQ(throughTheCode(capitals, 4), capitals);
  // In byte mode 14 digits fill the smallest version at level M and 15 do not; as digits 34 would fit.
  EXPECT_EQ(QRCodeRenderer::image(Bytes(14, '7'), 1)->width, 29U);
  EXPECT_EQ(QRCodeRenderer::image(Bytes(15, '7'), 1)->width, 33U);
}

TEST(QRCodeRenderer, carriesTheLongestMessageThatLevelMHoldsAndNotAByteMore) {
  Bytes longest(2331);
  std::iota(longest.begin(), longest.end(), std::uint8_t{0});
  EXPECT_EQ(throughTheCode(longest, 4), longest);
  longest.push_back(0);
  EXPECT_EQ(QRCodeRenderer::image(longest, 4), std::nullopt);
  EXPECT_EQ(QRCodeRenderer::image(Bytes(100'000), 4), std::nullopt);
}

TEST(QRCodeRenderer, keepsToLevelMWhereAHigherOneWouldFit) {
  // One byte fits the smallest version at every level; the two modules at the left end of row 8 name the level, masked.
  const auto image = QRCodeRenderer::image(Bytes{'x'}, 3);
  ASSERT_TRUE(image.has_value());
  EXPECT_TRUE(isDark(*image, 3, 0, 8));
  EXPECT_FALSE(isDark(*image, 3, 1, 8));
}

TEST(QRCodeRenderer, drawsExactSquaresOnAWhiteMargin) {
  const auto small = QRCodeRenderer::image(Bytes{'x'}, 1);
  const auto large = QRCodeRenderer::image(Bytes{'x'}, 10);
  ASSERT_TRUE(small && large);
  EXPECT_EQ(small->width, 21U + 2 * 4);
  EXPECT_EQ(small->height, small->width);
  EXPECT_EQ(large->width, 10 * small->width);
  EXPECT_EQ(large->height, 10 * small->height);
  ASSERT_EQ(large->pixels.size(), large->width * large->height);
  for (std::size_t y = 0; y < large->height; ++y)
    for (std::size_t x = 0; x < large->width; ++x) {
      const std::uint8_t pixel = large->pixels[y * large->width + x];
      ASSERT_EQ(pixel, small->pixels[y / 10 * small->width + x / 10]) << x << " " << y;
      const bool isMargin = std::min(x, y) < 40 || std::max(x, y) >= large->width - 40;
      ASSERT_TRUE(pixel == 255 || (pixel == 0 && !isMargin)) << x << " " << y;
    }
  // Three corners have a finder pattern, the fourth has none.
  EXPECT_TRUE(isDark(*small, 1, 0, 0) && isDark(*small, 1, 20, 0) && isDark(*small, 1, 0, 20));
}

TEST(QRCodeRenderer, refusesAScaleThatGivesNoImage) {
  const Bytes message{'x'};
  for (const int scale : {0, -1, -10, limits::qrModulePixels + 1, 1'000'000'000})
    EXPECT_EQ(QRCodeRenderer::image(message, scale), std::nullopt) << scale;
  EXPECT_TRUE(QRCodeRenderer::image(message, limits::qrModulePixels).has_value());
}

TEST(QRCodeRenderer, drawsTheSameImageAgain) {
  const Bytes message = copyOfBytes(payloadOfRealSize());
  EXPECT_EQ(QRCodeRenderer::image(message, 2), QRCodeRenderer::image(message, 2));
}

TEST(QRCodeRenderer, drawsACodeForNothing) {
  EXPECT_TRUE(QRCodeRenderer::image(Bytes{}, 1).has_value());
}

}  // namespace
}  // namespace tallyfox
