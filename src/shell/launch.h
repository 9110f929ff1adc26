#pragma once
// What the command line changes in the way the program starts, once the application exists.
#include <QString>
#include <memory>

#include "desktop/x11/window_flight.h"

#include "shell/command_line.h"

namespace lumox {

// Puts the command line's choices in place for the windows to come. Gives the error line for a
// choice that can't be met (a screen that is not there), or "" when all is set.
QString ApplyCommandLine(const CommandLine& line);

// Gives the display window the settings file, the settings and about windows and the menu.
// Called once, before any display window opens.
void WireDisplay();

// The flight without the start window: the data folder made as the start window makes it, then
// the display window, in full screen or in its window as after the first escape.
void FlyNow(bool windowed);

// The start window as at every start; centred on the flight's screen when one was chosen.
void ShowStartWindow(bool on_flight_screen);

// The screensaver's display mode: the flight alone in the window that --window-id names, or for
// --root in $XSCREENSAVER_WINDOW, else the virtual root. Starts with the settings file's values
// (the defaults for the window's width without one) and the command line's over them. Gives no
// flight and says why in `error` when it can't start. The process quits once the window is gone.
std::unique_ptr<WindowFlight> StartDisplayMode(const CommandLine& line, QString& error);

// The settings a flight alone starts with on a screen this wide: the settings file's values
// (the defaults for the width without one) and the command line's over them. The file is only read.
Settings StartingSettings(int width, const SettingOptions& options);

// Reads the settings file anew for a running flight in a window or on an output this wide, which
// goes on with them (the command line's options still over them). A file that can't be read
// keeps the flight's settings, says so in one line and gives false.
bool FollowPrefsFile(Flight& flight, int width, const SettingOptions& options);

// --wallpaper and --saver, from the application's start to its end: on a Wayland compositor
// with the layer shell when one answers (Qt then never connects to it), else on X11. Gives
// the exit status.
int RunDesktopMode(int& argc, char** argv, const CommandLine& line);

}  // namespace lumox
