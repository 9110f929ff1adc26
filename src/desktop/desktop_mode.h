#pragma once
// The flight as the desktop's wallpaper or screensaver: one flight on each output, with the
// settings file read (never written) and no window, key or menu of the program's own.
#include <functional>
#include <string>

#include "starfield/star_field.h"

namespace lumox {
class Flight;
}

namespace lumox {

enum class DesktopRole { kWallpaper, kSaver };

struct DesktopModeOptions {
  DesktopRole role = DesktopRole::kWallpaper;
  int layer = 0;       // the layer shell's: background, bottom, top, overlay (0 to 3)
  std::string output;  // the one output to fly on, by name; empty for every output
  bool span = false;   // one flight across the outputs, each showing its part, as they are laid out
  // The settings to start with on an output this wide, in logical pixels.
  std::function<Settings(int width)> starting;
  // The settings file read anew for a flight on an output this wide, which follows it; false when
  // the file could not be read (and that has been said).
  std::function<bool(Flight& flight, int width)> follow;
};

}  // namespace lumox
