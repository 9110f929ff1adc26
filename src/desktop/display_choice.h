#pragma once
// The one place that decides which display the program starts on, and which host carries a
// desktop mode, from what the environment names and what answers. Pure: the probes are given.
#include <functional>
#include <string>

namespace lumox {

enum class DisplayUse {
  kWindows,    // the start window and the flight: Qt's windows, on Wayland or X
  kX11Window,  // --root, --window-id: drawing into an X11 window
  kDesktop,    // --wallpaper, --saver: a host of the program's own
  kShellWindows,  // --wallpaper --gnome-shell: Qt's windows on the Shell's Wayland display
};

struct DisplayFacts {
  std::string qt_platform;  // -platform, else QT_QPA_PLATFORM
  std::string wayland_display, wayland_socket, x_display, session_type;
  std::function<bool(const std::string&)> wayland_answers, x_answers;
};

struct DisplayChoice {
  enum Host { kQt, kWayland, kX11 } host = kQt;
  // What QT_QPA_PLATFORM is to be for the program's own use of Qt; "" leaves it as it is.
  std::string qt_platform;
  // When nothing can be reached: the line to say (after "lumox: "), with status 1.
  std::string error;
};

DisplayChoice ChooseDisplay(DisplayUse use, const DisplayFacts& facts);

}  // namespace lumox
