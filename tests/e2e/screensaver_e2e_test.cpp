// The real XScreenSaver daemon kept off a flight (a slow test) and running lumox as its display mode.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "e2e/desktop.h"
#include "shell/inhibit_plan.h"

namespace lumox::e2e {
namespace {

constexpr int kSaverTimeoutMs = 60000;

// The daemon as the test user (it refuses root), showing `mode` after one idle minute, unlocked.
struct Saver {
  explicit Saver(const Session& x, const std::string& mode = "mode: blank\n")
      : home(MakeTempFolder("lumox-saver")) {
    std::ofstream(home + "/.xscreensaver") << "timeout: 0:01:00\nlock: False\nfade: False\nunfade: False\n"
                                              "splash: False\ndpmsEnabled: False\n" << mode;
    // lumox on the daemon's PATH, as installed; a copy, as the daemon's user may not reach the build.
    std::filesystem::create_directory(home + "/bin");
    std::filesystem::copy_file(LUMOX_EXE, home + "/bin/lumox");
    std::vector<std::string> argv = UserSession(home, home);
    argv.insert(argv.end(), {"DISPLAY=" + x.Display(), "PATH=" + home + "/bin:/usr/bin:/bin", "xscreensaver", "-no-splash"});
    pid = StartHelper(argv);
  }
  ~Saver() {
    StopHelper(pid);
    std::filesystem::remove_all(home);
  }
  std::string home;
  pid_t pid;
};

// The saver's state on the root window: 0 while the screen shows, BLANK or LOCK (an atom) while it is covered; -1 before.
long SaverState(const Session& x) {
  return std::strtol(x.Shell("xprop -root _SCREENSAVER_STATUS 2>/dev/null | sed -n 's/.* = //p' | grep . || echo -1").c_str(), nullptr, 10);
}

// How long the X server has counted the user idle, in ms: the clock of its own screen saver.
long ServerIdleMs(const Session& x) { return std::strtol(x.Shell("xprintidle || echo -1").c_str(), nullptr, 10); }

// The control, at its start window on a second X server, shows the daemon blanks after a minute.
TEST(ScreenSaverE2E, XScreenSaverNeverCoversANinetySecondFlightButCoversTheStartWindow) {
  Session flight({.outputs = {{1024, 768}}}), control({.outputs = {{1024, 768}}});
  for (const Session* x : {&flight, &control}) ASSERT_TRUE(x->WaitForWindow("Untitled", Shown));
  Saver flight_saver(flight), control_saver(control);
  ASSERT_TRUE(WaitFor([&] { return SaverState(flight) == 0 && SaverState(control) == 0; }));

  const std::string window = flight.Fly();
  ASSERT_FALSE(window.empty());
  const auto go = std::chrono::steady_clock::now();
  long covered_at = -1, control_covered_at = -1, most_idle = 0;
  while (MsSince(go) < 90000 && covered_at < 0) {
    if (SaverState(flight) != 0) covered_at = MsSince(go);
    if (control_covered_at < 0 && SaverState(control) > 0) control_covered_at = MsSince(go);
    most_idle = std::max(most_idle, ServerIdleMs(flight));
    SleepMs(500);
  }
  EXPECT_EQ(covered_at, -1) << "the flight was covered " << covered_at << " ms after GO";
  EXPECT_TRUE(flight.Running()) << "exit status " << flight.ExitStatus() << ": " << flight.Stderr();
  // The control blanks about a minute after its daemon started, a few seconds before GO.
  EXPECT_GT(control_covered_at, kSaverTimeoutMs - 10000);
  EXPECT_LT(control_covered_at, kSaverTimeoutMs + 5000);
  // The X server's own idle clock is started over with every nudge while the flight is shown...
  EXPECT_LT(most_idle, kIdleNudgeMs + 2000);
  EXPECT_GT(ServerIdleMs(control), 90000 - 10000);

  // A blank the user asks for over the flight is left alone by the nudges.
  flight.Shell("xscreensaver-command -activate >/dev/null 2>&1");
  ASSERT_TRUE(WaitFor([&] { return SaverState(flight) > 0; }));
  EXPECT_FALSE(WaitFor([&] { return SaverState(flight) <= 0; }, 2 * kIdleNudgeMs + 1000)) << "undone by a nudge";
  flight.Shell("xscreensaver-command -deactivate >/dev/null 2>&1");
  ASSERT_TRUE(WaitFor([&] { return SaverState(flight) == 0; }));

  // ...and left to run once the flight is minimised.
  flight.Xdo("windowminimize --sync " + window);
  EXPECT_TRUE(WaitFor([&] { return ServerIdleMs(flight) >= kIdleNudgeMs + 2000; }, 3 * kIdleNudgeMs));
  EXPECT_EQ(SaverState(flight), 0);
}

// The daemon with Lumox as its one display mode, as the README tells a user to set it up.
TEST(XScreenSaverE2E, ShowsTheFlightAsItsDisplayModeAndEndsIt) {
  Session x({.outputs = {{1024, 768}}, .start_lumox = false});
  Saver saver(x, "mode: one\nselected: 0\nprograms: lumox --root\n");
  ASSERT_TRUE(WaitFor([&] { return SaverState(x) == 0; }));
  // This daemon's lumox, the copy in its home: the user may run others at the same time.
  const auto running = [&] { return !RunCommand("find /proc -maxdepth 2 -name exe -lname '" + saver.home + "/bin/lumox' 2>/dev/null").empty(); };

  x.Shell("xscreensaver-command -activate >/dev/null 2>&1");
  EXPECT_TRUE(x.WaitForLit(QRect(0, 0, 1024, 768), 500, 15000));
  EXPECT_TRUE(running());
  EXPECT_EQ(x.Shell("xdotool search --name '^(Untitled|Settings)$'"), "");  // the flight alone

  // Asked again while the mode runs: a loaded machine may find the daemon still starting it.
  EXPECT_TRUE(WaitFor([&] {
    x.Shell("xscreensaver-command -deactivate >/dev/null 2>&1");
    return WaitFor([&] { return !running(); }, 3000);
  }, 30000));
  // The user's settings are read, never written.
  EXPECT_FALSE(std::filesystem::exists(saver.home + "/.local/share/LumoxPrefs"));
}

}  // namespace
}  // namespace lumox::e2e
