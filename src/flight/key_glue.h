#pragma once
#include <QKeyEvent>

#include "flight/display_keys.h"

namespace lumox {

// The physical keys the flight listens to, as the key codes the handlers ask for; -1 for others.
int FlightKeyCode(const QKeyEvent* event);

// The set of those keys held down now, kept from press and release events. Auto-repeat counts
// as a press; a release that is only part of an auto-repeat leaves the key down.
class KeysDown {
 public:
  // Gives whether the event was a press (so the window's key handler is due).
  bool Track(const QKeyEvent* event);
  void Clear() { keys_.reset(); }
  const KeySet& Keys() const { return keys_; }

 private:
  KeySet keys_;
};

}  // namespace lumox
