// The screensaver's display mode: lumox drawing into a window of the test's own, or into the root.
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

const QRect kHost(100, 80, 400, 300);

// A host window at `area`, with a white child over it if asked; gives its id in decimal.
std::string Hold(const Session& session, const QRect& area, bool child = false) {
  std::string id;
  session.XClient(QString("cover %1 %2 %3 %4 000000%5").arg(area.x()).arg(area.y()).arg(area.width()).arg(area.height())
                  .arg(child ? " child" : "").toStdString(), &id);
  return id;
}

bool EndsOn(Session& session, int signal) {
  session.Signal(signal);
  return session.WaitForExit(1000) && session.ExitStatus() == 0;
}

std::string Hex(const std::string& decimal) { return "0x" + QString::number(std::stoul(decimal), 16).toStdString(); }

// The size of lumox's child of the host ("-id N" or "-root") as the X server has it.
std::string ChildSize(const Session& session, const std::string& host) {
  return session.Shell("xwininfo -children " + host + " | sed -n 's/^ *0x[0-9a-f]* \"lumox\": (\"lumox\".*  \\([0-9x]*\\)+0+0 .*/\\1/p'");
}

// Then the defaults come from the host's size, and two run side by side from an untouched file.
TEST(DisplayModeE2E, TheFlightFillsTheHostWindowOnlyFollowsItsSizeAndEndsWithIt) {
  Session session({.outputs = {{1280, 800}}, .start_lumox = false});
  int window_defaults_lit = 0;
  // The host named on the command line (decimal, hex), by XSCREENSAVER_WINDOW, or as the virtual root.
  for (const std::string option : {"--window-id", "-window-id", "-root", "--root"}) {
    SCOPED_TRACE(option);
    // A given window has children of its own to cover; the virtual root's are other programs'.
    const bool covered = option != "--root";
    const std::string host = Hold(session, kHost, covered);
    std::vector<std::string> args = {option}, env;
    if (option == "--window-id") args.push_back(host);
    else if (option == "-window-id") args.push_back(Hex(host));
    else if (option == "-root") env.push_back("XSCREENSAVER_WINDOW=" + Hex(host));
    else session.Shell("xprop -id " + host + " -f __SWM_VROOT 32c -set __SWM_VROOT " + host);
    session.StartLumox(args, env);

    EXPECT_TRUE(session.WaitForLit(kHost, 200, 30000));
    // Stars on black, not the host's white child, and nothing anywhere but in the host.
    EXPECT_TRUE(!covered || WaitFor([&] { return LitPixels(session.Screenshot().copy(kHost)) < 400 * 300 / 4; }));
    const QImage screen = session.Screenshot();
    window_defaults_lit = std::max(window_defaults_lit, LitPixels(screen.copy(kHost)));
    EXPECT_EQ(LitPixels(screen), LitPixels(screen.copy(kHost)));
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
    EXPECT_TRUE(session.WaitForExit(10000) && session.ExitStatus() == 0) << session.ExitStatus();
    EXPECT_EQ(session.Stderr().find("rror"), std::string::npos) << session.Stderr();
  }
  EXPECT_EQ(session.PrefsWrites(), 0);  // the mode writes no settings

  // With no file the defaults were the 400-wide window's, not the 1280-wide screen's, lit three times as much.
  const std::string host = Hold(session, kHost);
  session.StartLumox({"--window-id", host, "--stars", "19200", "--star-size", "1.28"});
  ASSERT_TRUE(session.WaitForLit(kHost, 200, 30000));
  EXPECT_GT(LitPixels(session.Screenshot().copy(kHost)), 2 * window_defaults_lit);
  ASSERT_TRUE(EndsOn(session, SIGTERM));

  const char kSparse[] = "35\n0.0035\n170\n1.44\n100\n";  // 100 stars
  std::ofstream(session.File("LumoxPrefs")) << kSparse;
  ASSERT_EQ(session.PrefsWrites(), 1);
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
  EXPECT_TRUE(EndsOn(session, SIGTERM));
  StopHelper(second);
  EXPECT_EQ(session.Prefs(), kSparse);
  EXPECT_EQ(session.PrefsWrites(), 1);
}

// --root from no settings file: the folder's watch sees the first one come.
TEST(DisplayModeE2E, TheRootFlightFollowsAFileThatComesLaterSighupAndTheScreenAsTheWallpaperDoes) {
  Session session({.outputs = {{1280, 800}}, .start_lumox = false});
  session.StartLumox({"--root", "--stars", "3000"});
  const QRect screen = session.OutputArea(0);
  ASSERT_TRUE(WaitFor([&] { return Flying(session, "", screen); }, 20000)) << session.Stderr();
  EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-root") == "1280x800\n"; }));
  int small = 0;
  for (int shot = 0; shot < 3; ++shot) small = std::max(small, LitPixels(session.Screenshot()));
  // The count of the command line stays: only the size follows the file. Put in place as Lumox saves.
  std::ofstream(session.File("LumoxPrefs.new")) << "35\n0.0035\n170\n12\n100\n";
  ASSERT_EQ(std::rename(session.File("LumoxPrefs.new").c_str(), session.File("LumoxPrefs").c_str()), 0);
  EXPECT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot()) > 3 * small; }, 2000));
  session.Signal(SIGHUP);
  EXPECT_TRUE(Flying(session, "", screen));
  EXPECT_TRUE(session.Running());
  session.Shell("xrandr --fb 1024x768 >/dev/null 2>&1");
  EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-root") == "1024x768\n"; })) << ChildSize(session, "-root");
  EXPECT_TRUE(EndsOn(session, SIGINT));

  // The wallpaper's surface is its monitor's: a new mode gives one of the new size.
  session.StartLumox({"--wallpaper"});
  EXPECT_TRUE(WaitFor([&] { return !ChildSize(session, "-root").empty(); }));
  for (const char* step : {"--newmode small 0 800 0 0 0 600 0 0 0", "--addmode screen small", "--output screen --mode small"})
    session.Shell(std::string("xrandr ") + step);
  EXPECT_TRUE(WaitFor([&] { return ChildSize(session, "-root") == "800x600\n"; })) << ChildSize(session, "-root");
  EXPECT_TRUE(EndsOn(session, SIGTERM));
}

// xsecurelock runs its saver module (here the installed one's line) in a saver window on each
// monitor: a flight on each, and none left once the lock ends.
TEST(DisplayModeE2E, XsecurelockFliesOnEveryMonitorUntilTheLockEnds) {
  Session session({.outputs = {{800, 600}, {640, 480}}, .start_lumox = false});
  const std::string saver = session.File("saver_lumox");
  std::ofstream(saver) << "#!/bin/sh\nexec " LUMOX_EXE " --root\n";
  std::filesystem::permissions(saver, std::filesystem::perms::owner_all);
  const pid_t lock = StartHelper({"env", "DISPLAY=" + session.Display(), "XDG_DATA_HOME=" + session.File(""),
                                  "XSECURELOCK_SAVER=" + saver, "xsecurelock"});
  EXPECT_TRUE(WaitFor([&] { return Flying(session, "OUT-1") && Flying(session, "OUT-2"); }, 20000));
  StopHelper(lock);
  EXPECT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot()) == 0; }));
}

// The saver's settings dialog (the build's, from the sliders' ranges): every option it passes is taken.
TEST(DisplayModeE2E, TheSaverSettingsDialogOffersTheFiveSettingsAndLumoxTakesThemAll) {
  const std::string xml = ReadFile(LUMOX_SAVER_XML);
  EXPECT_NE(xml.find("<screensaver name=\"lumox\""), std::string::npos);
  const std::regex flag(R"x((<command arg|arg-set)="([^"]*)")x"),
      slider(R"x(<number [^>]*type="slider" arg="([^%"]*)%"[^>]*low="([^"]*)" high="([^"]*)" default="([^"]*)")x");
  std::string flags, lines[3];  // the sliders at their lows, highs and defaults
  for (std::sregex_iterator it(xml.begin(), xml.end(), flag), end; it != end; ++it) flags += (*it)[2].str() + " ";
  EXPECT_EQ(flags, "--root --fps ");
  int sliders = 0;
  for (std::sregex_iterator it(xml.begin(), xml.end(), slider), end; it != end; ++it, ++sliders)
    for (int i : {0, 1, 2}) lines[i] += " " + (*it)[1].str() + (*it)[2 + i].str();
  EXPECT_EQ(sliders, 5);

  // Each run gets as far as looking for its window, which isn't there; one that flies is stopped.
  Session session({.start_lumox = false});
  for (const std::string& line : lines)
    EXPECT_EQ(session.Shell("XSCREENSAVER_WINDOW=0x1 timeout 60 " LUMOX_EXE " --root --fps" + line + " 2>&1 >/dev/null | grep lumox:; echo $?"),
              "lumox: There is no X window 0x1 to draw into.\n0\n") << line;
}

}  // namespace
}  // namespace lumox::e2e
