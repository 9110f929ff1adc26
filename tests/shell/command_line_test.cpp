#include "shell/command_line.h"

#include <gtest/gtest.h>

#include <tuple>

namespace lumox {
namespace {

CommandLine Parse(QStringList arguments) {
  arguments.prepend(QStringLiteral("/usr/bin/lumox"));
  return ParseCommandLine(arguments);
}

TEST(CommandLine, OptionsBecomeChoices) {
  const struct {
    QStringList arguments;
    bool help, version, go, window, fps;
    QString screen, error;
  } cases[] = {
      {{}, false, false, false, false, false, "", ""},
      {{"--go"}, false, false, true, false, false, "", ""},
      {{"--window"}, false, false, true, true, false, "", ""},  // a windowed flight skips the start window too
      {{"-go", "-fps"}, false, false, true, false, true, "", ""},
      {{"--screen", "1", "--fps"}, false, false, false, false, true, "1", ""},
      {{"--screen=HDMI-2", "--window"}, false, false, true, true, false, "HDMI-2", ""},
      {{"-h"}, true, false, false, false, false, "", ""},
      {{"--version"}, false, true, false, false, false, "", ""},
      // Before Qt has taken out its own options they are unknown here, and a word such as
      // -reverse is never read as -r -e -v ...
      {{"-reverse"}, false, false, false, false, false, "", "Unknown option 'reverse'."},
      {{"-platformtheme", "gtk3", "--help"}, true, false, false, false, false, "", "Unknown option 'platformtheme'."},
      {{"--bogus", "--go"}, false, false, true, false, false, "", "Unknown option 'bogus'."},
      {{"--go", "stray"}, false, false, true, false, false, "", "Unexpected argument 'stray'."},
      {{"--screen"}, false, false, false, false, false, "", "Missing value after '--screen'."},
      {{"--screen", ""}, false, false, false, false, false, "", "The screen may not be empty."},
      {{"--fps=on"}, false, false, false, false, true, "", "Unexpected value after '--fps'."},
  };
  for (const auto& c : cases) {
    const CommandLine line = Parse(c.arguments);
    EXPECT_EQ(std::tuple(line.help, line.version, line.go, line.window, line.fps, line.screen, line.error),
              std::tuple(c.help, c.version, c.go, c.window, c.fps, c.screen, c.error))
        << c.arguments.join(' ').toStdString();
  }
}

TEST(CommandLine, ScreensAreFoundByNameFirstThenByNumber) {
  const QStringList names = {"DP-1", "HDMI-2", "0"};
  EXPECT_EQ(FindScreen("DP-1", names), 0);
  EXPECT_EQ(FindScreen("HDMI-2", names), 1);
  EXPECT_EQ(FindScreen("1", names), 1);
  EXPECT_EQ(FindScreen("2", names), 2);
  EXPECT_EQ(FindScreen("0", names), 2);  // a screen named "0" wins over the number
  for (const char* wanted : {"3", "-1", "+1", " 1", "01", "1.0", "hdmi-2", "", "x"})
    EXPECT_EQ(FindScreen(wanted, names), -1) << wanted;

  EXPECT_EQ(NoSuchScreen("5", {"LEFT", "RIGHT"}), "No screen '5'; the screens are 0 (LEFT), 1 (RIGHT).");
  EXPECT_EQ(NoSuchScreen("x", {""}), "No screen 'x'; the screens are 0.");  // a screen without a name
}

TEST(CommandLine, HelpNamesTheCommandAndEveryOption) {
  const QString help = HelpText();
  EXPECT_TRUE(help.startsWith("Usage: lumox [options]\n")) << help.toStdString();
  for (const char* option : {"-h, --help ", "-v, --version ", "--go ", "--window ", "--screen <screen> ", "--fps "})
    EXPECT_TRUE(help.contains(QStringLiteral("\n  ") + option)) << option;
}

}  // namespace
}  // namespace lumox
