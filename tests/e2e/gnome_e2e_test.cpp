// Lumox as GNOME Shell's wallpaper, through its extension, on a real Shell.
#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "e2e/gnome_shell.h"

namespace lumox::e2e {
namespace {

// Lumox's windows as "x y width height" each, in the order of the monitors they are on.
constexpr char kLumoxWindows[] = R"(
  global.get_window_actors().map(a => a.meta_window).filter(w => w.get_wm_class() === 'lumox-wallpaper')
    .map(w => w.get_frame_rect()).sort((a, b) => a.x - b.x).map(r => [r.x, r.y, r.width, r.height].join(' ')).join(', '))";

constexpr char kEveryMonitorHasOne[] = R"(
  const ours = global.get_window_actors().map(a => a.meta_window).filter(w => w.get_wm_class() === 'lumox-wallpaper');
  [...Array(global.display.get_n_monitors()).keys()].map(m => global.display.get_monitor_geometry(m))
    .every(area => ours.map(w => w.get_frame_rect()).some(r => r.x === area.x && r.y === area.y &&
                                                                r.width === area.width && r.height === area.height)))";

QRect Monitor(const GnomeShell& shell, int index) {
  std::istringstream in(shell.Eval("const r = global.display.get_monitor_geometry(" + std::to_string(index) +
                                   "); [r.x, r.y, r.width, r.height].join(' ')"));
  int x = 0, y = 0, w = 0, h = 0;
  in >> x >> y >> w >> h;
  return QRect(x, y, w, h);
}

// Each monitor's geometry as kLumoxWindows gives a window's.
std::string Places(const GnomeShell& shell) {
  std::string places;
  for (int monitor = 0; monitor < std::stoi("0" + shell.Eval("global.display.get_n_monitors()")); ++monitor) {
    const QRect r = Monitor(shell, monitor);
    places += (monitor ? ", " : "") + std::to_string(r.x()) + " " + std::to_string(r.y()) + " " + std::to_string(r.width()) +
              " " + std::to_string(r.height());
  }
  return places;
}

bool FliesIn(const GnomeShell& shell, const QRect& area) {
  return WaitFor([&] {
    const QImage a = shell.Screenshot().copy(area), b = shell.Screenshot().copy(area);
    return LitPixels(a) > 100 && DifferentPixels(a, b) > 100;
  });
}

// A foot terminal in red, maximised on the monitor that shows `area`, as a user's window over the desktop.
bool Cover(const GnomeShell& shell, int monitor, const QRect& area) {
  const std::string count = "global.get_window_actors().filter(a => a.meta_window.get_wm_class() === 'foot').length";
  const int before = std::stoi("0" + shell.Eval(count));
  shell.Shell("foot -o colors.background=ff0000 sleep 86400 >/dev/null 2>&1 &");
  if (!WaitFor([&] { return std::stoi("0" + shell.Eval(count)) > before; }, 20000)) return false;
  // The newest terminal, moved until it shows there: a busy Shell may place it again as it maps.
  const std::string m = std::to_string(monitor);
  return WaitFor([&] {
    shell.Eval("const w = global.get_window_actors().map(a => a.meta_window).filter(w => w.get_wm_class() === 'foot')"
               ".sort((a, b) => a.get_stable_sequence() - b.get_stable_sequence()).pop(); if (w.get_monitor() !== " + m +
               ") w.move_to_monitor(" + m + "); w.maximize(Meta.MaximizeFlags.BOTH); w.raise(); 1");
    return shell.Screenshot().pixel(area.center()) == qRgb(0xFF, 0, 0);
  }, 20000);
}

// A keyboard of the Shell's own seat, once the seat has it (keys before then are lost); then Alt
// and a letter on it, for the focused window.
constexpr char kSeat[] = "const {Clutter} = imports.gi; const seat = Clutter.get_default_backend().get_default_seat(), "
                        "keyboard = Clutter.InputDeviceType.KEYBOARD_DEVICE;";
bool PlugKeyboard(const GnomeShell& shell) {
  const std::string keyboards = std::string(kSeat) + "seat.list_devices().filter(d => d.get_device_type() === keyboard).length";
  const std::string before = shell.Eval(keyboards);
  shell.Eval(std::string(kSeat) + "global.lumoxKeyboard = seat.create_virtual_device(keyboard); 1");
  return WaitFor([&] { return shell.Eval(keyboards) != before; });
}
void AltKey(const GnomeShell& shell, const std::string& letter) {
  shell.Eval("const {Clutter} = imports.gi; for (const [key, state] of [['Alt_L', 1], ['" + letter + "', 1], ['" + letter +
             "', 0], ['Alt_L', 0]]) global.lumoxKeyboard.notify_keyval(GLib.get_monotonic_time(), Clutter[`KEY_${key}`], state); 1");
}

TEST(GnomeE2E, TheExtensionFliesUnderEveryWindowOnEachMonitorOutOfTheListsAndEndsWithIt) {
  GnomeShell shell({{1280, 720}, {800, 600}});
  ASSERT_TRUE(shell.Started()) << shell.Log();
  ASSERT_TRUE(WaitFor([&] { return shell.Lumox() > 0; }, 20000)) << shell.Log();
  const QRect one = Monitor(shell, 0), two = Monitor(shell, 1);
  // One window a monitor, over all of it, the top bar's strip too: a moving star field on each.
  const std::string places = Places(shell);
  ASSERT_TRUE(WaitFor([&] { return shell.Eval(kLumoxWindows) == places; }, 20000)) << shell.Eval(kLumoxWindows);
  EXPECT_TRUE(FliesIn(shell, one.adjusted(0, one.height() / 4, 0, 0)));
  EXPECT_TRUE(FliesIn(shell, two.adjusted(0, two.height() / 4, 0, 0)));
  // Out of alt-tab and the window list, and out of the overview, which shows no window that skips the taskbar.
  EXPECT_EQ(shell.Eval("global.display.get_tab_list(Meta.TabList.NORMAL, null).length"), "0");
  EXPECT_EQ(shell.Eval("global.get_window_actors().map(a => a.meta_window).filter(w => !w.is_skip_taskbar()).length"), "0");

  const pid_t lumox_pid = shell.Lumox();
  const auto ticks = [&] { return CpuTicksOf(lumox_pid); };
  std::printf("CPU with both monitors flying: %.1f%% of a core\n", CpuShare(ticks, 5000) * 100.0);
  // A window over it shows above it; covering every monitor stops the flights.
  ASSERT_TRUE(Cover(shell, 0, one));
  EXPECT_TRUE(FliesIn(shell, two.adjusted(0, two.height() / 4, 0, 0)));
  ASSERT_TRUE(Cover(shell, 1, two));
  const double covered = CpuShare(ticks, 10000);
  std::printf("CPU with every monitor covered: %.2f%% of a core\n", covered * 100.0);
  EXPECT_LT(covered, 0.02)
      << shell.Eval("global.get_window_actors().map(a => a.meta_window).map(w => w.get_wm_class() + ' ' + "
                    "w.get_monitor() + ' ' + w.get_maximized()).join(', ')");
  // Closed through this Shell: a pkill would reach the terminals of other sessions of the same user.
  shell.Eval("global.get_window_actors().map(a => a.meta_window).filter(w => w.get_wm_class() === 'foot')"
             ".forEach(w => w.delete(global.get_current_time())); 1");
  const auto uncovered = std::chrono::steady_clock::now();
  EXPECT_TRUE(FliesIn(shell, two.adjusted(0, two.height() / 4, 0, 0)));
  std::printf("Flying again %ld ms after the windows went\n", MsSince(uncovered));

  // Turned off, Lumox ends at once and the Shell's own background shows.
  const pid_t lumox = shell.Lumox();
  shell.Shell("gnome-extensions disable lumox-wallpaper@lumox");
  const auto disabled = std::chrono::steady_clock::now();
  EXPECT_TRUE(WaitFor([&] { return kill(lumox, 0) != 0; }, 1000)) << "still running";
  std::printf("Lumox ended %ld ms after the extension was disabled\n", MsSince(disabled));
  EXPECT_EQ(shell.Eval(kLumoxWindows), "");
  EXPECT_EQ(shell.Log().find("JS ERROR"), std::string::npos) << shell.Log();
}

TEST(GnomeE2E, ALumoxThatEndsIsStartedAgainAFewTimesAMinute) {
  GnomeShell shell({{800, 600}});
  ASSERT_TRUE(shell.Started()) << shell.Log();
  for (int run = 0; run < 3; ++run) {
    pid_t lumox = -1;
    ASSERT_TRUE(WaitFor([&] { return (lumox = shell.Lumox()) > 0; }, 20000)) << run << shell.Log();
    kill(lumox, SIGKILL);
    ASSERT_TRUE(WaitFor([&] { return shell.Lumox() != lumox; })) << run;
  }
  EXPECT_TRUE(WaitFor([&] { return shell.Log().find("ended 3 times within a minute; not started again") != std::string::npos; }))
      << shell.Log();
  EXPECT_EQ(shell.Lumox(), -1);
  EXPECT_EQ(shell.Eval("Main.messageTray.getSources().flatMap(s => s.notifications).some(n => n.title === "
                       "'The Lumox wallpaper stopped')"), "true");
  // Turned off and on, it gets its chances again.
  shell.Shell("gnome-extensions disable lumox-wallpaper@lumox; gnome-extensions enable lumox-wallpaper@lumox");
  EXPECT_TRUE(WaitFor([&] { return shell.Lumox() > 0; }, 20000)) << shell.Log();
}

// The extension's page in the Extensions app, each switch turned over with Alt and its letter:
// Lumox starts anew with that option, and across all monitors their pictures line up at their edge.
TEST(GnomeE2E, TheExtensionsSettingsStartLumoxAnewAcrossAllMonitorsAndPausingOnBattery) {
  GnomeShell shell({{800, 600}, {640, 480}});
  ASSERT_TRUE(shell.Started()) << shell.Log();
  // Slow and unturned, with stars large enough to fall on the edge.
  shell.Shell("mkdir -p .local/share && printf '0\\n0.0002\\n170\\n12\\n50000\\n' > .local/share/LumoxPrefs");
  ASSERT_TRUE(WaitFor([&] { return shell.Lumox() > 0; }, 20000)) << shell.Log();
  const auto options = [&] { return RunCommand("tr '\\0' ' ' < /proc/" + std::to_string(shell.Lumox()) + "/cmdline 2>&1"); };
  ASSERT_TRUE(PlugKeyboard(shell));
  shell.Shell("gnome-extensions prefs lumox-wallpaper@lumox");
  ASSERT_TRUE(WaitFor([&] { return shell.Eval("global.display.focus_window?.get_title()") == "Lumox wallpaper"; }, 20000));
  const std::string places = Places(shell);
  ASSERT_TRUE(WaitFor([&] { return shell.Eval(kLumoxWindows) == places; }, 20000)) << shell.Eval(kLumoxWindows);
  for (const auto& [letter, line] : {std::pair("p", "--pause-on-battery "), {"f", "--span --pause-on-battery "}}) {
    const pid_t before = shell.Lumox();
    AltKey(shell, letter);
    // The Lumox before stays until the new one's windows cover every monitor: no look finds a gap.
    std::string windows, gap;
    EXPECT_TRUE(WaitFor([&] {
      const bool every = shell.Eval(kEveryMonitorHasOne) == "true";
      if (!every && gap.empty()) gap = shell.Eval(kLumoxWindows);
      return every && kill(before, 0) != 0;
    }, 20000)) << letter;
    EXPECT_EQ(gap, "") << letter;
    EXPECT_TRUE(options().ends_with(std::string("--wallpaper --gnome-shell ") + line)) << letter << ": " << options();
    // Its windows go with it, not when the Shell next collects its garbage.
    EXPECT_TRUE(WaitFor([&] { return (windows = shell.Eval(kLumoxWindows)) == places; }, 1000)) << windows;
  }
  shell.Eval("global.display.focus_window.delete(global.get_current_time()); 1");
  // No UPower on this system bus: it flies all the same.
  const QRect two = Monitor(shell, 1);
  const int bar = std::stoi("0" + shell.Eval("Main.panel.height"));
  double likeness = 0.0;
  EXPECT_TRUE(WaitFor([&] { return (likeness = SeamLikeness(shell.Screenshot(), two.x(), bar, two.height())) > 0.6; }))
      << likeness;
  EXPECT_EQ(shell.Log().find("JS ERROR"), std::string::npos) << shell.Log();
}

// One monitor in a row as mutter's DisplayConfig takes it; the one at the left is the primary.
std::string Logical(int x, int scale, const std::string& connector, const std::string& mode) {
  return "(" + std::to_string(x) + ", 0, " + std::to_string(scale) + ".0, 0, " + (x ? "false" : "true") + ", [('" +
         connector + "', '" + mode + "@60.000', @a{sv} {})])";
}

// The monitors laid out anew, as the Settings panel does it.
void LayOut(const GnomeShell& shell, const std::string& logical_monitors) {
  const std::string call = "gdbus call --session --dest org.gnome.Mutter.DisplayConfig --object-path "
                           "/org/gnome/Mutter/DisplayConfig --method org.gnome.Mutter.DisplayConfig.";
  unsigned serial = 0;
  std::sscanf(shell.Shell(call + "GetCurrentState").c_str(), "(uint32 %u", &serial);
  shell.Shell(call + "ApplyMonitorsConfig " + std::to_string(serial) + " 1 \"[" + logical_monitors + "]\" '@a{sv} {}'");
}

// GNOME's physical layout, its default, gives a monitor's size in device pixels: at scale 2 the
// flight still takes the defaults of the monitor's logical width, so it shows the same stars as at
// scale 1, each twice as wide: no more than four times the lit pixels of the same area at scale 1.
// A monitor that goes takes its flight with it, and back, it gets one; Lumox flies on.
TEST(GnomeE2E, AMonitorAtScaleTwoShowsTheStarsOfItsLogicalWidthAndFliesAgainAfterGoingAndComingBack) {
  GnomeShell shell({{1280, 720}, {2560, 1440}});
  ASSERT_TRUE(shell.Started()) << shell.Log();
  pid_t first = -1;
  ASSERT_TRUE(WaitFor([&] { return (first = shell.Lumox()) > 0; }, 20000)) << shell.Log();
  // The flight takes its defaults at its start, here a restart.
  const std::string left = Logical(0, 1, "Meta-0", "1280x720"), right = Logical(1280, 2, "Meta-1", "2560x1440");
  LayOut(shell, left + ", " + right);
  ASSERT_TRUE(WaitFor([&] { return shell.Eval("global.display.get_monitor_scale(1)") == "2"; })) << shell.Log();
  kill(first, SIGTERM);
  ASSERT_TRUE(WaitFor([&] { return shell.Lumox() > 0 && shell.Lumox() != first; }, 20000)) << shell.Log();
  const std::string places = Places(shell);
  ASSERT_TRUE(WaitFor([&] { return shell.Eval(kLumoxWindows) == places; }, 20000)) << shell.Eval(kLumoxWindows);
  // The same logical area of each, clear of the top bar and its notices.
  const QRect one(0, 200, 1280, 520), two(1280, 400, 2560, 1040);
  ASSERT_TRUE(FliesIn(shell, two));
  long lit_one = 0, lit_two = 0;
  for (int shot = 0; shot < 6; ++shot) {
    const QImage image = shell.Screenshot();
    lit_one += LitPixels(image.copy(one));
    lit_two += LitPixels(image.copy(two));
  }
  std::printf("Lit pixels of one logical area: %ld at scale 1, %ld at scale 2\n", lit_one, lit_two);
  EXPECT_GT(lit_two, lit_one);
  EXPECT_LT(lit_two, 4 * lit_one);

  const pid_t second = shell.Lumox();
  LayOut(shell, left);
  EXPECT_TRUE(WaitFor([&] { return shell.Eval(kLumoxWindows) == "0 0 1280 720"; })) << shell.Eval(kLumoxWindows);
  LayOut(shell, left + ", " + right);
  EXPECT_TRUE(WaitFor([&] { return shell.Eval(kLumoxWindows) == places; })) << shell.Eval(kLumoxWindows);
  EXPECT_TRUE(FliesIn(shell, two));
  EXPECT_EQ(shell.Lumox(), second);
}

}  // namespace
}  // namespace lumox::e2e
