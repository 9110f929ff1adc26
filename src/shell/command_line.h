#pragma once
// The command line: what each option asks for, as plain values. Parsing needs no application
// object and no display, so it runs both before Qt starts (for --help and --version) and after
// Qt has taken out the options it knows itself (-platform and the rest).
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>

#include "settings/setting_options.h"

namespace lumox {

struct CommandLine {
  bool help = false;
  bool version = false;
  bool go = false;      // straight into the flight, without the start window
  bool window = false;  // the flight in its 600x400 window rather than full screen; implies go
  bool fps = false;     // frames per second and CPU use over the flight
  QString screen;       // number or name of the flight's screen; empty for the primary screen
  // The screensaver's display mode: the flight alone, drawn into a window of another program's.
  bool root = false;                    // into $XSCREENSAVER_WINDOW, else the (virtual) root window
  std::optional<uint32_t> window_id;    // into this X window
  // The desktop's wallpaper or screensaver: one flight on each output (or on `output` alone).
  bool wallpaper = false;
  bool saver = false;
  int layer = 0;                        // the wallpaper's layer: background, bottom, top, overlay
  bool gnome_shell = false;             // the wallpaper as windows for the GNOME Shell extension
  QString output;
  bool span = false;                    // one flight across the outputs, as they are laid out
  bool pause_on_battery = false;        // nothing drawn while UPower says the battery is in use
  SettingOptions settings;              // single settings over the file's, in these modes only
  QString error;        // one line saying what is wrong; empty when the arguments are good
};

// `arguments` as QCoreApplication::arguments() gives them, the program first. With
// `qt_options_too`, Qt's own options (-platform, -display, -style ...) pass as good ones, for a
// parse of main()'s arguments before Qt has taken them out.
CommandLine ParseCommandLine(const QStringList& arguments, bool qt_options_too = false);
// main()'s arguments as such a list, for a parse before the application object exists.
QStringList ArgumentList(int argc, char** argv);

QString HelpText();
QString VersionText();
// The line that follows an error message on standard error.
QString UsageHint();

// An X window id as XScreenSaver passes it, decimal or 0x hex; empty for anything else or 0.
std::optional<uint32_t> ParseWindowId(const QString& text);

// The index of the screen that `wanted` names, by its name or by its number from 0; -1 if none.
int FindScreen(const QString& wanted, const QStringList& names);
// The error line for a screen that FindScreen did not find.
QString NoSuchScreen(const QString& wanted, const QStringList& names);

}  // namespace lumox
