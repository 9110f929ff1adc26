#include "shell/command_line.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

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
  parser.addOptions({kHelp, kVersion, kGo, kWindow, kScreen, kFps});
}

}  // namespace

CommandLine ParseCommandLine(const QStringList& arguments) {
  QCommandLineParser parser;
  SetUp(parser);
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
