#pragma once
#include <QFontMetrics>
#include <QLabel>

namespace lumox {

// Text sizes are given in points of a 72-dpi screen, one pixel each, so that the windows keep
// their designed proportions on any screen. A label whose text would not fit its width at that
// size is made just small enough to fit, rather than cut off.
inline void SetTextSize(QLabel* label, int size) {
  QFont font = label->font();
  font.setPixelSize(size);
  while (size > 6 && QFontMetrics(font).horizontalAdvance(label->text()) > label->width()) font.setPixelSize(--size);
  label->setFont(font);
}

}  // namespace lumox
