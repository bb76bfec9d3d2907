#include "pairing/QRCodeRenderer.hpp"

#include <algorithm>
#include <cstddef>
#include <qrcodegen/qrcodegen.hpp>
#include <stdexcept>

#include "base/Limits.hpp"

namespace tallyfox {
namespace {

using qrcodegen::QrCode;
using qrcodegen::QrSegment;

constexpr int quietZone = 4;
constexpr std::uint8_t black = 0;
constexpr std::uint8_t white = 255;

std::optional<QrCode> encoded(ByteView message) {
  constexpr int anyMask = -1;
  // Left to itself the generator raises the level where the version has room: a code of exactly level M is asked for.
  constexpr bool mayRaiseLevel = false;
  try {
    const auto segment = QrSegment::makeBytes({message.begin(), message.end()});
    return QrCode::encodeSegments({segment}, QrCode::Ecc::MEDIUM, QrCode::MIN_VERSION, QrCode::MAX_VERSION, anyMask,
                                  mayRaiseLevel);
  } catch (const std::length_error&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<GrayscaleImage> QRCodeRenderer::image(ByteView message, int scale) {
  if (scale < 1 || scale > limits::qrModulePixels) return std::nullopt;
  const auto code = encoded(message);
  if (!code) return std::nullopt;

  const auto side = static_cast<std::size_t>(code->getSize() + 2 * quietZone) * static_cast<std::size_t>(scale);
  GrayscaleImage image{.width = side, .height = side, .pixels = Bytes(side * side, white)};
  for (int y = 0; y < code->getSize(); ++y) {
    const auto row = image.pixels.begin() + static_cast<std::ptrdiff_t>(side) * (y + quietZone) * scale;
    for (int x = 0; x < code->getSize(); ++x)
      if (code->getModule(x, y)) std::fill_n(row + (x + quietZone) * scale, scale, black);
    for (int copy = 1; copy < scale; ++copy)
      std::copy_n(row, side, row + static_cast<std::ptrdiff_t>(side) * copy);
  }
  return image;
}

}  // namespace tallyfox
