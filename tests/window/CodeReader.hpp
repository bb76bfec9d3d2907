#pragma once

#include <zbar.h>

#include <QImage>
#include <optional>
#include <string>

namespace tallyfox {

/// What an independent reader finds in a picture; absent unless it finds exactly one QR code.
inline std::optional<std::string> codeIn(const QImage& picture) {
  const QImage gray = picture.convertToFormat(QImage::Format_Grayscale8);
  std::string pixels;
  for (int y = 0; y < gray.height(); ++y)
    pixels.append(reinterpret_cast<const char*>(gray.constScanLine(y)), static_cast<std::size_t>(gray.width()));
  zbar::ImageScanner scanner;
  scanner.set_config(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
  scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
  zbar::Image image(static_cast<unsigned>(gray.width()), static_cast<unsigned>(gray.height()), "Y800", pixels.data(),
                    pixels.size());
  if (scanner.scan(image) != 1) return std::nullopt;
  const zbar::SymbolIterator symbol = image.symbol_begin();
  return symbol->get_data();
}

}  // namespace tallyfox
