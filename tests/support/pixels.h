#pragma once
#include <QImage>
#include <cstdlib>

namespace lumox::testing {

// Pixels of `image` for which `take(pixel)` holds.
template <typename Take>
int CountPixels(const QImage& image, Take take) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  int count = 0;
  for (int y = 0; y < rgb.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(rgb.constScanLine(y));
    for (int x = 0; x < rgb.width(); ++x) count += take(line[x]);
  }
  return count;
}

// A pixel's brightest channel.
inline int Level(QRgb p) { return qMax(qRed(p), qMax(qGreen(p), qBlue(p))); }

// Green standing well above both red and blue: the frames-per-second readout's pale green, since
// a star's green never exceeds the larger of its red and blue.
inline bool ReadoutGreen(QRgb p) { return qGreen(p) - qMax(qRed(p), qBlue(p)) >= 60; }

// Pixels whose brightest channel is above `threshold`.
inline int LitPixels(const QImage& image, int threshold = 24) {
  return CountPixels(image, [threshold](QRgb p) { return Level(p) > threshold; });
}

// Pixels within `tolerance` of `colour` in each channel.
inline int ColourPixels(const QImage& image, QRgb colour, int tolerance) {
  return CountPixels(image, [=](QRgb p) {
    return std::abs(qRed(p) - qRed(colour)) <= tolerance && std::abs(qGreen(p) - qGreen(colour)) <= tolerance &&
           std::abs(qBlue(p) - qBlue(colour)) <= tolerance;
  });
}

// The readout's green pixels, counted and bounded.
struct Green {
  int count = 0;
  QRect bounds;
};
inline Green GreenPixels(const QImage& image) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  Green green;
  for (int y = 0; y < rgb.height(); ++y)
    for (int x = 0; x < rgb.width(); ++x)
      if (ReadoutGreen(rgb.pixel(x, y))) ++green.count, green.bounds |= QRect(x, y, 1, 1);
  return green;
}

}  // namespace lumox::testing
