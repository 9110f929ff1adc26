#pragma once
#include <QElapsedTimer>
#include <QImage>
#include <QString>

#include "flight/fps_overlay.h"

namespace lumox {

// The readout of the display window: counts its frames and renews the picture of the text once
// a second, so a frame costs one glDrawPixels of a small picture and no text layout.
class FpsReadout {
 public:
  // Counts the frame about to be drawn; gives the picture to lay over it (none in the first
  // second), sized for this many device pixels a logical one.
  OverlayPicture Frame(double pixel_ratio = 1.0);
  // The text of the picture Frame gives.
  const QString& Text() const { return text_; }

 private:
  QElapsedTimer clock_;
  FpsMeter meter_;
  QImage picture_;
  QString text_;
  double ratio_ = 1.0;
};

// The text in pale green on a dark plate, premultiplied RGBA, rows from the top down; 14 logical
// pixels high text at this pixel ratio.
QImage ReadoutPicture(const QString& text, double pixel_ratio = 1.0);

}  // namespace lumox
