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
  // Counts the frame about to be drawn; gives the picture to lay over it (none in the first second).
  OverlayPicture Frame();
  // The text of the picture Frame gives.
  const QString& Text() const { return text_; }

 private:
  QElapsedTimer clock_;
  FpsMeter meter_;
  QImage picture_;
  QString text_;
};

// The text in pale green on a dark plate, premultiplied RGBA, rows from the top down.
QImage ReadoutPicture(const QString& text);

}  // namespace lumox
