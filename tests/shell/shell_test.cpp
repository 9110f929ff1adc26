// The command line, a frame's placement on its screen and the idle inhibit's plan.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "shell/command_line.h"
#include "shell/inhibit_plan.h"
#include "shell/placement.h"

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
      {{"--window"}, false, false, true, true, false, "", ""},  // a windowed flight skips the start window too
      {{"-go", "-fps"}, false, false, true, false, true, "", ""},
      {{"--screen", "1", "--fps"}, false, false, false, false, true, "1", ""},
      {{"--screen=HDMI-2", "--window"}, false, false, true, true, false, "HDMI-2", ""},
      {{"-h"}, true, false, false, false, false, "", ""},
      {{"--version"}, false, true, false, false, false, "", ""},
      // Qt's own options are unknown before Qt takes them out; -reverse is never -r -e -v ...
      {{"-reverse"}, false, false, false, false, false, "", "Unknown option 'reverse'."},
      {{"-platformtheme", "gtk3", "--help"}, true, false, false, false, false, "", "Unknown option 'platformtheme'."},
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
  // A screen named "0" wins over the number; a number is digits only.
  const std::pair<const char*, int> cases[] = {{"DP-1", 0}, {"HDMI-2", 1}, {"1", 1}, {"2", 2}, {"0", 2}, {"3", -1},
      {"-1", -1}, {"+1", -1}, {" 1", -1}, {"01", -1}, {"1.0", -1}, {"hdmi-2", -1}, {"", -1}, {"x", -1}};
  for (const auto& [wanted, index] : cases) EXPECT_EQ(FindScreen(wanted, {"DP-1", "HDMI-2", "0"}), index) << wanted;

  EXPECT_EQ(NoSuchScreen("5", {"LEFT", "RIGHT"}), "No screen '5'; the screens are 0 (LEFT), 1 (RIGHT).");
  EXPECT_EQ(NoSuchScreen("x", {""}), "No screen 'x'; the screens are 0.");  // a screen without a name
}

TEST(CommandLine, TheDisplayModeTakesBothSpellingsAndItsSettings) {
  const CommandLine root = Parse({"-root", "-fps", "-speed", "0.01", "--stars=100", "-star-size", "2.5"});
  EXPECT_TRUE(root.root && root.fps && !root.go && !root.window_id && root.error.isEmpty()) << root.error.toStdString();
  EXPECT_EQ(std::tuple(root.settings.speed, root.settings.stars, root.settings.star_size), std::tuple(0.01, 100.0, 2.5));
  EXPECT_FALSE(root.settings.rotation || root.settings.colour_spread);
  const CommandLine id = Parse({"-window-id", "0x2A00003", "--rotation", "-40", "--colour-spread", "90"});
  EXPECT_TRUE(!id.root && id.window_id == 0x2A00003u && id.error.isEmpty()) << id.error.toStdString();
  EXPECT_EQ(std::tuple(id.settings.rotation, id.settings.colour_spread), std::tuple(-40.0, 90.0));
  // Parsed before Qt takes out its own options, the mode is still seen (to choose X11).
  EXPECT_TRUE(Parse({"-display", ":5", "-root"}).root);
  const CommandLine wallpaper = Parse({"--wallpaper", "--layer", "bottom", "--output", "DP-2", "--stars", "500"});
  EXPECT_TRUE(wallpaper.wallpaper && !wallpaper.saver && wallpaper.error.isEmpty()) << wallpaper.error.toStdString();
  EXPECT_EQ(std::make_tuple(wallpaper.layer, wallpaper.output, wallpaper.settings.stars),
            std::make_tuple(1, QString("DP-2"), std::optional<double>(500.0)));
  EXPECT_EQ(std::pair(Parse({"--wallpaper", "--layer=overlay"}).layer, Parse({"--wallpaper"}).layer), std::pair(3, 0));
  EXPECT_TRUE(Parse({"--saver", "--fps"}).saver && Parse({"--saver", "--span"}).span && !Parse({"--saver"}).span);
  EXPECT_TRUE(Parse({"--wallpaper", "--pause-on-battery"}).pause_on_battery && !Parse({"--saver"}).pause_on_battery);

  const char* const kOneMode = "Only one of '--root', '--window-id', '--wallpaper' and '--saver' at a time.";
  const char* const kNotWithModes =
      "'--go', '--window' and '--screen' can't go with '--root', '--window-id', '--wallpaper' or '--saver'.";
  const struct {
    QStringList arguments;
    const char* error;
  } wrong[] = {
      {{"--window-id", "0"}, "'--window-id' needs an X window id, not '0'."},
      {{"--wallpaper", "--saver"}, kOneMode},
      {{"--root", "--go"}, kNotWithModes},  // and so --window, which implies --go
      {{"--window-id", "7", "--screen", "1"}, kNotWithModes},
      {{"--stars", "100"}, "'--stars' goes with '--root', '--window-id', '--wallpaper' or '--saver' only."},
      {{"--wallpaper", "--layer", "desktop"}, "'--layer' is background, bottom, top or overlay, not 'desktop'."},
      {{"--saver", "--layer", "top"}, "'--layer' goes with '--wallpaper' only."},
      {{"--layer", "top"}, "'--layer' goes with '--wallpaper' only."},
      {{"--root", "--output", "HDMI-A-1"}, "'--output' goes with '--wallpaper' or '--saver' only."},
      {{"--saver", "--output="}, "The output may not be empty."},
      {{"--root", "--pause-on-battery"}, "'--pause-on-battery' goes with '--wallpaper' or '--saver' only."},
      {{"--go", "--span"}, "'--span' goes with '--wallpaper' or '--saver' only."},
      {{"--root", "--speed", "fast"}, "'--speed' needs a number, not 'fast'."},
      {{"--root", "--star-size", "inf"}, "'--star-size' needs a number, not 'inf'."},
  };
  for (const auto& c : wrong) EXPECT_EQ(Parse(c.arguments).error, c.error) << c.arguments.join(' ').toStdString();
}

TEST(CommandLine, WindowIdsAreDecimalOrHexAndNothingElse) {
  for (const auto& [text, id] : {std::pair{"42", 42u}, {"010", 10u}, {"0x2a", 42u}, {"0X2A", 42u},  // 010: not octal
                                 {"4294967295", 4294967295u}, {"0xffffffff", 4294967295u}})
    EXPECT_EQ(ParseWindowId(text), id) << text;
  for (const char* text : {"", "0", "0x0", "0x", "-5", "+5", " 5", "5 ", "2a", "0xg", "0x0x5", "1e3", "4294967296",
                           "0x100000000", "\u0664\u0662"})  // the last: Arabic-Indic digits
    EXPECT_EQ(ParseWindowId(QString::fromUtf8(text)), std::nullopt) << text;
}

TEST(Placement, AFrameIsMovedOntoTheAreaAsLittleAsPossibleAndKeepsItsStartWhenTooLong) {
  EXPECT_EQ(FitSpan(-20, 445, 0, 480), 0);      // title bar above the top
  EXPECT_EQ(FitSpan(100, 445, 0, 480), 35);     // bottom below the screen
  EXPECT_EQ(FitSpan(10, 445, 0, 480), 10);      // fits: left alone
  EXPECT_EQ(FitSpan(-50, 600, 24, 480), 24);    // longer than the area: its start on the area
  EXPECT_EQ(FitSpan(700, 322, 640, 640), 700);  // a second screen's area, offset
}

// Each event with the request it must give back ("-" for none); "gone" is refused for no service, "fail" otherwise.
void Play(const char* title, const std::vector<std::pair<std::string, std::string>>& script) {
  InhibitPlan plan;
  for (size_t i = 0; i < script.size(); ++i) {
    const auto& [event, want] = script[i];
    const std::optional<InhibitStep> step = event == "show"    ? plan.SetShown(true)
                                            : event == "hide"  ? plan.SetShown(false)
                                            : event == "grant" ? plan.Granted()
                                            : event == "gone"  ? plan.Refused(InhibitRefusal::NoService)
                                                               : plan.Refused(InhibitRefusal::Other);
    std::string got = "-";
    if (step) {
      got = step->kind == InhibitStep::Kind::Ask ? "ask " : "release ";
      got += step->route == InhibitRoute::ScreenSaver ? "ss" : step->route == InhibitRoute::ScreenSaverOldPath ? "old" : "portal";
    }
    EXPECT_EQ(got, want) << title << ", line " << i << " (" << event << ")";
  }
}

TEST(InhibitPlan, HoldsWhileShownWithOneRequestInFlightAndFallsBackToThePortal) {
  Play("minimise and restore", {{"show", "ask ss"}, {"grant", "-"}, {"show", "-"}, {"hide", "release ss"},
                               {"hide", "-"}, {"show", "ask ss"}, {"grant", "-"}, {"hide", "release ss"}});
  Play("minimised while asking: the late grant is given back", {{"show", "ask ss"}, {"hide", "-"},
                                                               {"grant", "release ss"}, {"show", "ask ss"}});
  Play("minimised and restored while asking: the grant is kept",
      {{"show", "ask ss"}, {"hide", "-"}, {"show", "-"}, {"grant", "-"}, {"hide", "release ss"}});
  Play("answers to nothing asked change nothing", {{"grant", "-"}, {"gone", "-"}, {"hide", "-"}, {"show", "ask ss"},
                                                  {"grant", "-"}, {"grant", "-"}, {"fail", "-"}, {"hide", "release ss"}});
  Play("no screensaver service: straight to the portal",
      {{"show", "ask ss"}, {"gone", "ask portal"}, {"grant", "-"}, {"hide", "release portal"}, {"show", "ask ss"}});
  Play("the service without the usual object: its old path, then the portal",
      {{"show", "ask ss"}, {"fail", "ask old"}, {"grant", "-"}, {"hide", "release old"},
       {"show", "ask ss"}, {"fail", "ask old"}, {"fail", "ask portal"}, {"fail", "-"}, {"hide", "-"},
       {"show", "ask ss"}, {"fail", "ask old"}, {"gone", "ask portal"}, {"gone", "-"}});
  Play("refused while minimised: nothing more until shown again",
      {{"show", "ask ss"}, {"hide", "-"}, {"gone", "-"}, {"grant", "-"}, {"show", "ask ss"}});
}

}  // namespace
}  // namespace lumox
