#pragma once

#include <optional>

#include "base/Bytes.hpp"
#include "model/GrayscaleImage.hpp"

namespace tallyfox {

/// Draws QR codes: byte mode, error-correction level M, the smallest version that holds the message.
class QRCodeRenderer {
 public:
  /// Each module becomes a square of `scale` by `scale` pixels, black on white. The four light modules around the code
  /// that readers rely on are part of the image, so that it can be read whatever it is shown upon. The message is
  /// encoded as it is. Absent for more than 2,331 bytes, the most that level M holds, and for a scale outside 1 to
  /// limits::qrModulePixels.
  [[nodiscard]] static std::optional<GrayscaleImage> image(ByteView message, int scale);
};

}  // namespace tallyfox
