// The screensaver's display mode: the real program drawing into a window of the test's own, as
// XScreenSaver has it draw into its window.
#include <signal.h>
#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <QFile>
#include <algorithm>
#include <QXmlStreamReader>
#include <map>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

const QRect kHost(100, 80, 400, 300);

// A host window at `area`, with a white child over it if asked; gives its id in decimal.
std::string Hold(const Session& session, const QRect& area, bool child = false) {
  std::string id;
  session.XClient("cover " + std::to_string(area.x()) + " " + std::to_string(area.y()) + " " + std::to_string(area.width()) +
                  " " + std::to_string(area.height()) + " 000000" + (child ? " child" : ""), &id);
  return id;
}

std::string Hex(const std::string& decimal) {
  std::ostringstream hex;
  hex << "0x" << std::hex << std::stoul(decimal);
  return hex.str();
}

// The surface's size as the X server has it: the host's child of lumox's (`host` as xwininfo takes
// it: "-id N" or "-root").
std::string ChildSize(const Session& session, const std::string& host) {
  return session.Shell("xwininfo -children " + host + " | sed -n 's/^ *0x[0-9a-f]* \"lumox\": (\"lumox\".*  \\([0-9x]*\\)+0+0 .*/\\1/p'");
}

TEST(DisplayModeE2E, TheFlightFillsTheHostWindowOnlyFollowsItsSizeAndEndsWithIt) {
  Session session({.outputs = {{1280, 800}}, .start_lumox = false});

  // The host named on the command line (decimal, hex), by XSCREENSAVER_WINDOW, or as the virtual root.
  enum class Named { kDecimal, kHex, kEnvironment, kVirtualRoot };
  const struct {
    const char* option;
    Named named;
  } ways[] = {{"--window-id", Named::kDecimal}, {"-window-id", Named::kHex}, {"-root", Named::kEnvironment},
              {"--root", Named::kVirtualRoot}};
  int window_defaults_lit = 0;
  for (const auto& way : ways) {
    SCOPED_TRACE(static_cast<int>(way.named));
    // A window given by id or by the saver has children of its own to cover; the virtual root's
    // children are other programs' windows, which the flight stays under.
    const bool covered = way.named != Named::kVirtualRoot;
    const std::string host = Hold(session, kHost, covered);
    ASSERT_FALSE(host.empty());
    std::vector<std::string> args = {way.option}, env;
    if (way.named == Named::kDecimal) args.push_back(host);
    if (way.named == Named::kHex) args.push_back(Hex(host));
    if (way.named == Named::kEnvironment) env.push_back("XSCREENSAVER_WINDOW=" + Hex(host));
    if (way.named == Named::kVirtualRoot) session.Shell("xprop -id " + host + " -f __SWM_VROOT 32c -set __SWM_VROOT " + host);
    session.StartLumox(args, env);

    // Stars inside the host and nothing anywhere else: the rest of the screen stays black.
    // Under load a new process can take a while to draw its first frame.
    EXPECT_TRUE(session.WaitForLit(kHost, 200, 30000));
    // Stars on black, not the host's white child.
    if (covered) {
      EXPECT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot().copy(kHost)) < 400 * 300 / 4; }));
    }
    QImage screen = session.Screenshot().convertToFormat(QImage::Format_RGB32);
    window_defaults_lit = std::max(window_defaults_lit, LitPixels(screen.copy(kHost)));
    for (int y = kHost.top(); y <= kHost.bottom(); ++y)
      for (int x = kHost.left(); x <= kHost.right(); ++x) screen.setPixel(x, y, qRgb(0, 0, 0));
    EXPECT_EQ(LitPixels(screen), 0);
    // No window of its own: the one window of lumox's on screen is the host's child.
    const std::string child = session.Shell("xwininfo -children -id " + host + " | awk '/\"lumox\"/ {print $1}'");
    const auto visible = [&] { return session.Shell("xdotool search --onlyvisible --classname lumox | xargs printf '0x%x\\n'"); };
    EXPECT_TRUE(WaitFor([&] { return visible() == child; })) << visible() << " against " << child;

    EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-id " + host) == "400x300\n"; })) << ChildSize(session, "-id " + host);
    session.Xdo("windowsize " + host + " 640 480");
    EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-id " + host) == "640x480\n"; }));
    EXPECT_TRUE(session.WaitForLit(QRect(kHost.x() + 400, kHost.y() + 300, 240, 180), 20, 30000));

    // The host goes, as the saver's window does when it unblanks: the flight ends with it.
    session.Xdo("windowkill " + host);
    // On a loaded machine the word of it can take a second or more to reach the flight.
    EXPECT_TRUE(session.WaitForExit(10000));
    EXPECT_EQ(session.ExitStatus(), 0);
    EXPECT_EQ(session.Stderr().find("rror"), std::string::npos) << session.Stderr();
  }
  EXPECT_FALSE(std::ifstream(session.File("LumoxPrefs")));  // the mode writes no settings

  // Without a settings file the defaults were those of the 400-wide window (6000 stars of size
  // 0.4), not those of the 1280-wide screen (19200 of size 1.28), which light three times as much.
  const std::string host = Hold(session, kHost);
  session.StartLumox({"--window-id", host, "--stars", "19200", "--star-size", "1.28"});
  ASSERT_TRUE(session.WaitForLit(kHost, 200, 30000));
  EXPECT_GT(LitPixels(session.Screenshot().copy(kHost)), 2 * window_defaults_lit);
}

TEST(DisplayModeE2E, TwoRunSideBySideFromTheSettingsFileWhichStaysUntouched) {
  const char kSparse[] = "35\n0.0035\n170\n1.44\n100\n";  // 100 stars
  Session session({.outputs = {{1280, 800}}, .prefs = kSparse, .start_lumox = false});
  const QRect left = kHost, right = kHost.translated(500, 0);
  const std::string a = Hold(session, left), b = Hold(session, right);
  session.StartLumox({"--window-id", a});
  // The second, as the saver starts one for each monitor; the option stands over the file.
  const pid_t second = StartHelper({"env", "DISPLAY=" + session.Display(), "XDG_DATA_HOME=" + session.File(""),
                                    LUMOX_EXE, "-window-id", Hex(b), "-stars", "6000"});
  ASSERT_TRUE(session.WaitForLit(left, 2, 30000) && session.WaitForLit(right, 300, 30000));

  // Both fly: each picture changes, and the file's 100 stars are a sparse one beside 6000.
  const QImage first = session.Screenshot();
  QImage next;
  EXPECT_TRUE(WaitFor([&] {
    next = session.Screenshot();
    return DifferentPixels(first.copy(left), next.copy(left)) > 0 && DifferentPixels(first.copy(right), next.copy(right)) > 0;
  }));
  EXPECT_GT(LitPixels(next.copy(right)), 5 * LitPixels(next.copy(left)));

  session.Signal(SIGTERM);
  EXPECT_TRUE(session.WaitForExit(1000));
  EXPECT_EQ(session.ExitStatus(), 0);
  StopHelper(second);
  EXPECT_EQ(session.Prefs(), kSparse);
  EXPECT_EQ(session.PrefsWrites(), 0);
}

TEST(DisplayModeE2E, TheRootFlightAndTheWallpaperFollowTheScreenThroughRandR) {
  Session session({.outputs = {{1280, 800}}, .start_lumox = false});
  session.StartLumox({"-root"});
  EXPECT_TRUE(session.WaitForLit(QRect(0, 0, 1280, 800), 500, 30000));
  EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-root") == "1280x800\n"; }));
  // The screen shrinks, as when a monitor is swapped for a smaller one.
  session.Shell("xrandr --fb 1024x768 >/dev/null 2>&1");
  EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-root") == "1024x768\n"; })) << ChildSize(session, "-root");
  session.Signal(SIGINT);
  EXPECT_TRUE(session.WaitForExit(1000));
  EXPECT_EQ(session.ExitStatus(), 0);

  // The wallpaper's surface is its monitor's: a new mode gives one of the new size.
  session.StartLumox({"--wallpaper"});
  EXPECT_TRUE(WaitFor([&] { return !ChildSize(session, "-root").empty(); }));
  session.Shell("xrandr --newmode small 0 800 0 0 0 600 0 0 0");
  session.Shell("xrandr --addmode screen small");
  session.Shell("xrandr --output screen --mode small");
  EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-root") == "800x600\n"; })) << ChildSize(session, "-root");
  session.Signal(SIGTERM);
  EXPECT_TRUE(session.WaitForExit(1000));
  EXPECT_EQ(session.ExitStatus(), 0);
}

// The saver's settings dialog as XScreenSaver reads it (written by the build from the settings
// window's ranges): every option it can pass, at each slider's ends and default, is taken.
TEST(DisplayModeE2E, TheSaverSettingsDialogOffersTheFiveSettingsAndLumoxTakesThemAll) {
  QFile file(LUMOX_SAVER_XML);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  QXmlStreamReader xml(&file);
  std::vector<std::string> lows, highs, defaults, flags;
  while (!xml.atEnd()) {
    if (xml.readNext() != QXmlStreamReader::StartElement) continue;
    const QXmlStreamAttributes a = xml.attributes();
    const auto value = [&](const char* name) { return a.value(QLatin1String(name)).toString().toStdString(); };
    if (xml.name() == QLatin1String("screensaver")) {
      EXPECT_EQ(value("name"), "lumox");
    }
    if (xml.name() == QLatin1String("command")) flags.push_back(value("arg"));
    if (xml.name() == QLatin1String("boolean")) flags.push_back(value("arg-set"));
    if (xml.name() == QLatin1String("number")) {
      EXPECT_EQ(value("type"), "slider");
      const std::string arg = value("arg"), at = arg.substr(0, arg.find('%'));
      lows.push_back(at + value("low"));
      highs.push_back(at + value("high"));
      defaults.push_back(at + value("default"));
    }
  }
  ASSERT_FALSE(xml.hasError()) << xml.errorString().toStdString();
  EXPECT_EQ(flags, (std::vector<std::string>{"--root", "--fps"}));
  EXPECT_EQ(lows.size(), 5u);

  // Every option is taken: the run gets as far as looking for its window, which isn't there.
  // A run that flies instead is stopped, so that it fails here rather than at the test's timeout.
  Session session({.start_lumox = false});
  for (const auto* set : {&lows, &highs, &defaults}) {
    std::string line;
    for (const std::string& arg : *set) line += " " + arg;
    EXPECT_EQ(session.Shell("XSCREENSAVER_WINDOW=0x1 timeout 60 " LUMOX_EXE " --root --fps" + line + " 2>&1 >/dev/null | grep lumox:; echo $?"),
              "lumox: There is no X window 0x1 to draw into.\n0\n") << line;
  }
  // A Wayland desktop alone has no window for the mode to draw into.
  EXPECT_EQ(RunCommand("env -u DISPLAY WAYLAND_DISPLAY=wayland-0 " LUMOX_EXE " -root 2>&1; echo $?"),
            "lumox: DISPLAY is not set, and '--root' and '--window-id' draw into X11 windows.\n1\n");
}

}  // namespace
}  // namespace lumox::e2e
