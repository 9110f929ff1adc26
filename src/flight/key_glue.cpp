#include "flight/key_glue.h"

namespace lumox {

int FlightKeyCode(const QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Escape: return kKeyEscape;
    case Qt::Key_Left: return kKeyLeft;
    case Qt::Key_Right: return kKeyRight;
    case Qt::Key_Down: return kKeyDown;
    case Qt::Key_Up: return kKeyUp;
    default: break;
  }
  // The `s` key by its place on the keyboard (X keycode 39), whatever the layout or modifiers.
  if (event->nativeScanCode() == 39 || event->key() == Qt::Key_S) return kKeyS;
  return -1;
}

bool KeysDown::Track(const QKeyEvent* event) {
  const int code = FlightKeyCode(event);
  if (event->type() == QEvent::KeyPress) {
    if (code >= 0) keys_.set(static_cast<size_t>(code));
    return true;
  }
  if (event->type() == QEvent::KeyRelease && code >= 0 && !event->isAutoRepeat()) keys_.reset(static_cast<size_t>(code));
  return false;
}

}  // namespace lumox
