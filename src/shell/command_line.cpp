#include "shell/command_line.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <algorithm>
#include <cmath>

namespace lumox {

namespace {

const QCommandLineOption kHelp({"h", "help"}, "Show this help and exit.");
const QCommandLineOption kVersion({"v", "version"}, "Show the version and exit.");
const QCommandLineOption kGo("go", "Skip the start window and fly in full screen at once, as GO does.");
const QCommandLineOption kWindow("window",
                                 "Fly in a 600 by 400 window instead of full screen, as after the first Escape. "
                                 "Skips the start window too.");
const QCommandLineOption kScreen("screen",
                                 "Fly on this screen, given by its number counting from 0 or by its name; one "
                                 "that is not there is an error that lists those that are. Its width gives the "
                                 "default star size and star count. Without this option, the primary screen.",
                                 "screen");
const QCommandLineOption kFps("fps", "Show the frames per second and the CPU use in the lower left of the flight.");
const QCommandLineOption kRoot("root",
                               "Be an XScreenSaver display mode: draw the flight alone into the window named by "
                               "XSCREENSAVER_WINDOW, else into the root window. The settings file is read, never "
                               "written, and followed as it changes (and on SIGHUP).");
const QCommandLineOption kWindowId("window-id", "As --root, but draw into the X window with this id (decimal or 0x hex).",
                                   "id");
const QCommandLineOption kWallpaper("wallpaper",
                                    "Be the desktop's wallpaper: one flight on each output, behind every window, "
                                    "until SIGTERM or SIGINT; SIGHUP reads the settings file anew. On Wayland a layer "
                                    "surface (sway, Hyprland, KWin and others; GNOME has none), on X11 drawn into the "
                                    "root window.");
const QCommandLineOption kSaver("saver",
                                "Be the screensaver: one flight on each output, above every window, until a key, a "
                                "button or the pointer moves. It locks nothing.");
const QCommandLineOption kLayer("layer", "With --wallpaper: the layer, background (the default), bottom, top or overlay.",
                                "layer");
const QCommandLineOption kGnomeShell("gnome-shell",
                                     "With --wallpaper: ordinary windows, one on each monitor, that Lumox's GNOME Shell "
                                     "extension makes the background. The extension starts Lumox so.");
const QCommandLineOption kOutput("output", "With --wallpaper or --saver: only this output (a Wayland output or an X11 "
                                 "RandR monitor, by name).", "name");
const QCommandLineOption kSpan("span",
                               "With --wallpaper or --saver: one flight across all outputs, each a window onto "
                               "one field as the outputs are laid out, its centre in the middle of them all. The "
                               "defaults are those of a screen as wide as the outputs together.");
const QCommandLineOption kPauseOnBattery("pause-on-battery",
                                         "With --wallpaper or --saver: draw nothing while UPower says the machine "
                                         "runs on its battery.");
// The settings a display mode may set, in the settings file's units, each held to its slider's range.
const QCommandLineOption kSpeed("speed", "In the display modes: the speed, 0.0002 to 0.1.", "speed");
const QCommandLineOption kRotation("rotation", "In the display modes: the rotation, -2000 to 2000.", "rotation");
const QCommandLineOption kStars("stars", "In the display modes: the number of stars, 100 to 50000.", "stars");
const QCommandLineOption kStarSize("star-size", "In the display modes: the star size, 0.5 to 15.", "size");
const QCommandLineOption kColourSpread("colour-spread", "In the display modes: the colour spread, 50 to 255.",
                                       "spread");
const char* const kLayers[] = {"background", "bottom", "top", "overlay"};

const char kDescription[] =
    "Lumox flies through a field of coloured stars.\n"
    "Without options it opens the start window; GO begins the flight in full screen.\n"
    "In the flight, Escape leaves full screen, s opens the settings, the arrow keys\n"
    "change rotation and speed, and Ctrl+Q quits.\n"
    "Qt's own options (-platform, -display and the others) are accepted too.";

// Qt-style single-dash words (-go) are long options, never bundles of letters: a Qt option that
// is not taken out yet, such as -reverse, must not read as -r -e -v ...
void SetUp(QCommandLineParser& parser) {
  parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
  parser.setApplicationDescription(QString::fromUtf8(kDescription));
  parser.addOptions({kHelp, kVersion, kGo, kWindow, kScreen, kFps, kRoot, kWindowId, kWallpaper, kSaver, kLayer,
                     kGnomeShell, kOutput, kSpan, kPauseOnBattery, kSpeed, kRotation, kStars, kStarSize, kColourSpread});
}

// The value of a settings option when given; sets `error` when it is not a finite number.
std::optional<double> Number(const QCommandLineParser& parser, const QCommandLineOption& option, QString& error) {
  if (!parser.isSet(option)) return std::nullopt;
  bool ok = false;
  const double value = parser.value(option).toDouble(&ok);
  if (ok && std::isfinite(value)) return value;
  if (error.isEmpty())
    error = QStringLiteral("'--%1' needs a number, not '%2'.").arg(option.names().first(), parser.value(option));
  return std::nullopt;
}

// What the display mode's options ask for, and which options can't go together.
void ReadDisplayMode(const QCommandLineParser& parser, CommandLine& line) {
  QString& error = line.error;
  line.root = parser.isSet(kRoot);
  if (parser.isSet(kWindowId)) {
    line.window_id = ParseWindowId(parser.value(kWindowId));
    if (!line.window_id && error.isEmpty())
      error = QStringLiteral("'--window-id' needs an X window id, not '%1'.").arg(parser.value(kWindowId));
  }
  line.settings.speed = Number(parser, kSpeed, error);
  line.settings.rotation = Number(parser, kRotation, error);
  line.settings.stars = Number(parser, kStars, error);
  line.settings.star_size = Number(parser, kStarSize, error);
  line.settings.colour_spread = Number(parser, kColourSpread, error);
  line.wallpaper = parser.isSet(kWallpaper);
  line.saver = parser.isSet(kSaver);
  line.gnome_shell = parser.isSet(kGnomeShell);
  line.output = parser.value(kOutput);
  line.pause_on_battery = parser.isSet(kPauseOnBattery);
  line.span = parser.isSet(kSpan);
  if (parser.isSet(kLayer)) {
    const QString layer = parser.value(kLayer);
    line.layer = -1;
    for (int i = 0; i < 4; ++i)
      if (layer == QLatin1String(kLayers[i])) line.layer = i;
    if (line.layer < 0 && error.isEmpty())
      error = QStringLiteral("'--layer' is background, bottom, top or overlay, not '%1'.").arg(layer);
  }
  if (!error.isEmpty()) return;
  const int modes = int(line.root) + int(parser.isSet(kWindowId)) + int(line.wallpaper) + int(line.saver);
  if (modes > 1)
    error = QStringLiteral("Only one of '--root', '--window-id', '--wallpaper' and '--saver' at a time.");
  else if (modes == 1 && (line.go || !line.screen.isEmpty()))
    error = QStringLiteral("'--go', '--window' and '--screen' can't go with '--root', '--window-id', '--wallpaper' "
                           "or '--saver'.");
  else if (parser.isSet(kLayer) && !line.wallpaper)
    error = QStringLiteral("'--layer' goes with '--wallpaper' only.");
  else if (line.gnome_shell && (!line.wallpaper || parser.isSet(kLayer)))
    error = QStringLiteral("'--gnome-shell' goes with '--wallpaper' only, and has no layer.");
  else if (parser.isSet(kOutput) && !line.wallpaper && !line.saver)
    error = QStringLiteral("'--output' goes with '--wallpaper' or '--saver' only.");
  else if (line.pause_on_battery && !line.wallpaper && !line.saver)
    error = QStringLiteral("'--pause-on-battery' goes with '--wallpaper' or '--saver' only.");
  else if (line.span && !line.wallpaper && !line.saver)
    error = QStringLiteral("'--span' goes with '--wallpaper' or '--saver' only.");
  else if (parser.isSet(kOutput) && line.output.isEmpty())
    error = QStringLiteral("The output may not be empty.");
  else if (modes == 0)
    for (const QCommandLineOption& option : {kSpeed, kRotation, kStars, kStarSize, kColourSpread})
      if (parser.isSet(option)) {
        error = QStringLiteral("'--%1' goes with '--root', '--window-id', '--wallpaper' or '--saver' only.")
                    .arg(option.names().first());
        break;
      }
}

// The options QGuiApplication, QApplication and the xcb plugin take out of the command line.
void AddQtOptions(QCommandLineParser& parser) {
  const auto add = [&parser](const char* name, const QString& value) {
    QCommandLineOption option(QString::fromLatin1(name), {}, value);
    option.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(option);
  };
  for (const char* name : {"platform", "platformpluginpath", "platformtheme", "plugin", "qwindowgeometry", "geometry",
                           "qwindowtitle", "title", "qwindowicon", "icon", "session", "qmljsdebugger", "style",
                           "stylesheet", "display", "name", "visual"})
    add(name, QStringLiteral("value"));
  for (const char* name : {"reverse", "testability", "widgetcount", "nograb", "dograb"}) add(name, {});
}

}  // namespace

CommandLine ParseCommandLine(const QStringList& arguments, bool qt_options_too) {
  QCommandLineParser parser;
  SetUp(parser);
  if (qt_options_too) AddQtOptions(parser);
  CommandLine line;
  if (!parser.parse(arguments)) line.error = parser.errorText();
  if (line.error.isEmpty() && !parser.positionalArguments().isEmpty())
    line.error = QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().first());
  line.help = parser.isSet(kHelp);
  line.version = parser.isSet(kVersion);
  line.window = parser.isSet(kWindow);
  line.go = parser.isSet(kGo) || line.window;
  line.fps = parser.isSet(kFps);
  line.screen = parser.value(kScreen);
  if (line.error.isEmpty() && parser.isSet(kScreen) && line.screen.isEmpty())
    line.error = QStringLiteral("The screen may not be empty.");
  ReadDisplayMode(parser, line);
  return line;
}

QStringList ArgumentList(int argc, char** argv) {
  QStringList list;
  for (int i = 0; i < argc; ++i) list << QString::fromLocal8Bit(argv[i]);
  return list;
}

QString HelpText() {
  QCommandLineParser parser;
  SetUp(parser);
  // The usage line names the command, wherever it was started from.
  QString text = parser.helpText();
  text.replace(0, text.indexOf(QLatin1String(" [options]")), QStringLiteral("Usage: lumox"));
  return text;
}

std::optional<uint32_t> ParseWindowId(const QString& text) {
  const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
  const QString digits = hex ? text.mid(2) : text;
  // Digits only, as the number was written: no sign, blank or second prefix.
  const bool plain = !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), [hex](QChar c) {
    const char a = c.toLatin1();
    return (a >= '0' && a <= '9') || (hex && ((a >= 'a' && a <= 'f') || (a >= 'A' && a <= 'F')));
  });
  bool ok = false;
  const qulonglong id = digits.toULongLong(&ok, hex ? 16 : 10);
  if (!plain || !ok || id == 0 || id > UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(id);
}

QString VersionText() { return QStringLiteral("lumox " LUMOX_VERSION "\n"); }

QString UsageHint() { return QStringLiteral("Try 'lumox --help' for more information.\n"); }

int FindScreen(const QString& wanted, const QStringList& names) {
  if (const qsizetype named = names.indexOf(wanted); named >= 0) return static_cast<int>(named);
  bool number = false;
  const int index = wanted.toInt(&number);
  // Digits only: "+1" and " 1" name no screen.
  if (!number || wanted != QString::number(index) || index < 0 || index >= names.size()) return -1;
  return index;
}

QString NoSuchScreen(const QString& wanted, const QStringList& names) {
  QStringList listed;
  for (qsizetype i = 0; i < names.size(); ++i)
    listed << (names[i].isEmpty() ? QString::number(i) : QStringLiteral("%1 (%2)").arg(i).arg(names[i]));
  return QStringLiteral("No screen '%1'; the screens are %2.").arg(wanted, listed.join(QStringLiteral(", ")));
}

}  // namespace lumox
