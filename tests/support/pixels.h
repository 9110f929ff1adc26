#pragma once
#include <QImage>

namespace lumox::testing {

// Pixels whose brightest channel is above `threshold`.
inline int LitPixels(const QImage& image, int threshold = 24) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  int lit = 0;
  for (int y = 0; y < rgb.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(rgb.constScanLine(y));
    for (int x = 0; x < rgb.width(); ++x)
      if (qMax(qRed(line[x]), qMax(qGreen(line[x]), qBlue(line[x]))) > threshold) ++lit;
  }
  return lit;
}

}  // namespace lumox::testing
