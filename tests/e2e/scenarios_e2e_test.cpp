// What a user does with Lumox, written once and run on every desktop: openbox, xfwm4 and
// metacity under Xvfb, and a headless sway with the program as a native Wayland client.
#include <signal.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <utility>

#include "flight/display_keys.h"
#include "e2e/desktop.h"
#include "support/defaults_table.h"

namespace lumox::e2e {
namespace {

const QRgb kGrey = qRgb(0xCC, 0xCC, 0xCC);

class Scenario : public ::testing::TestWithParam<const char*> {
 protected:
  std::unique_ptr<Desktop> Open(DesktopOptions options) {
    options.kind = GetParam();
    return OpenDesktop(options);
  }
};

// Escape's window: where the program puts it on the output, or where the compositor does; i3
// floats it with its frame where the window asks.
bool Escaped(const Desktop& d, int output, const WindowState& w) {
  const QRect area = d.OutputArea(output);
  const QRect asked(area.topLeft() + QPoint(kEscapedLeft, kEscapedTop), QSize(kEscapedWidth, kEscapedHeight));
  return w.shown && !w.full_screen && (d.Kind() != "i3" || w.frame.topLeft() == asked.topLeft()) &&
         (d.PlacesWindows() ? w.geometry == asked : w.geometry.size() == asked.size() && area.contains(w.geometry));
}

// Put away by escape: minimised for the window manager, not only for Qt; sway has no minimise
// and unmaps the window.
bool PutAway(const Desktop& d, const WindowState& w) { return !w.shown && (w.minimised || !d.PlacesWindows()); }

// A first run: the start window, GO, the settings window over the full-screen flight, escape to
// the window, keys with the pointer away, and the values the keys set in the file at quit.
TEST_P(Scenario, FirstRunTheSettingsWindowOverTheFlightKeysAndQuit) {
  const auto d = Open({.outputs = {{1280, 800}}});
  ASSERT_TRUE(d->WaitForWindow("Untitled", Shown));
  // What ties the windows to the desktop entry: its StartupWMClass on X11, its name on Wayland.
  const std::string wm_class = RunCommand("sed -n 's/^StartupWMClass=//p' " LUMOX_DESKTOP_FILE);
  const std::string app_id = std::filesystem::path(LUMOX_DESKTOP_FILE).stem().string() + "\n";
  EXPECT_EQ(d->Window("Untitled").app + "\n", d->Kind() == "sway" ? app_id : wm_class);
  ASSERT_FALSE(d->Fly().empty());
  EXPECT_TRUE(d->Window("Lumox").full_screen);
  EXPECT_FALSE(d->Window("Untitled").shown);
  const QImage shot = d->Screenshot();
  EXPECT_LT(LitPixels(shot, 200), 1280 * 800 / 20);  // stars on black, no light window over them
  EXPECT_TRUE(WaitFor([&] { return DifferentPixels(shot, d->Screenshot()) > 1000; }));
  EXPECT_EQ(d->Prefs(), "");  // nothing is written until quit

  // `s` over the flight: the settings window comes focused and drawn above it, and stays above
  // when the flight is clicked. Escape puts it away every time, the flight full screen with the keys.
  d->Keys("s");
  ASSERT_TRUE(d->WaitForWindow("Settings", Focused));
  const QRect over = d->Window("Settings").geometry;
  const auto drawn = [&] { return ColourPixels(d->Screenshot().copy(over), kGrey, 0) > over.width() * over.height() / 2; };
  EXPECT_TRUE(WaitFor(drawn));
  if (d->Pointer({900, 600}, true)) {
    d->WaitForWindow("Lumox", Focused, 3000);  // or xfwm4 hands the focus on to its dialog
    EXPECT_TRUE(WaitFor(drawn));
  }
  for (int attempt = 0; attempt < 4; ++attempt) {
    d->Keys("s");
    ASSERT_TRUE(d->WaitForWindow("Settings", Focused)) << attempt;
    d->Keys("Escape");
    ASSERT_TRUE(d->WaitForWindow("Settings", [&](const WindowState& w) { return PutAway(*d, w); })) << attempt;
    ASSERT_TRUE(d->WaitForWindow("Lumox", Focused)) << attempt;
    EXPECT_EQ(d->Window("Lumox").geometry, d->OutputArea(0)) << attempt;
  }

  d->Keys("Escape");
  ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return w.focused && Escaped(*d, 0, w); }));
  const QRect window = d->Window("Lumox").geometry;
  EXPECT_TRUE(WaitFor([&] { return Flying(*d, "", window); }));
  // Away from the window; a lone Alt must not send the next arrow to the menu bar.
  d->Pointer({1100, 700});
  d->Keys("Up alt Left s");
  // Where it comes back to: openbox shows it moving there from the bottom of the screen.
  ASSERT_TRUE(d->WaitForWindow("Settings", [&](const WindowState& w) { return Focused(w) && d->OutputArea(0).contains(w.geometry); }));
  // Down moves the speed's slider: once it has, the window takes keys (a compositor may move the
  // focus about as it maps it). Held Left steps again at the press of any other key.
  const QRect settings = d->Window("Settings").geometry;
  const QImage before = d->Screenshot().copy(settings);
  d->Keys("Down");
  ASSERT_TRUE(WaitFor([&] { return DifferentPixels(before, d->Screenshot().copy(settings)) > 0; }));
  d->Keys("down:Left a up:Left Escape");
  ASSERT_TRUE(d->WaitForWindow("Settings", [&](const WindowState& w) { return PutAway(*d, w); }));
  ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return w.focused && Escaped(*d, 0, w); }));
  d->Keys("Up");
  ASSERT_TRUE(d->Quit());
  EXPECT_EQ(d->ExitStatus(), 0);
  // Rotn 35 - 20 (display) - 20 - 20 (settings); Speed up, down and up from 0.0035.
  EXPECT_EQ(d->Prefs(), "-25\n0.006\n170\n1.28\n19200\n");
  EXPECT_EQ(d->PrefsWrites(), 1);
}

// A first run (no file, so the settings are due) ended by a terminate signal, as at logout, or by
// its display server dying, after arrow keys with several down at once. Either way it exits in order.
TEST_P(Scenario, SettingsDueAtATerminateSignalOrWhenTheDisplayServerDiesReachTheFile) {
  for (const bool kill_server : {false, true}) {
    // Qt 6.4's Wayland client ends the process with _exit the moment the compositor goes.
    if (kill_server && GetParam() == std::string("sway")) continue;
    SCOPED_TRACE(kill_server ? "display server killed" : "SIGTERM");
    const auto d = Open({.outputs = {{1280, 800}}});
    ASSERT_FALSE(d->Fly().empty());
    // Left held while Up goes down: the second press finds both keys down and steps both. Keys
    // are taken in order, so once escape has shown, the arrows before it have been taken too.
    d->Keys("Up Up Up down:Left down:Up up:Up up:Left Right Escape");
    ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return Escaped(*d, 0, w); }));
    kill_server ? d->KillServer() : d->Signal(SIGTERM);
    ASSERT_TRUE(d->WaitForExit());
    EXPECT_LT(d->ExitStatus(), 128) << d->Stderr();  // ended by itself, not by a signal
    // Rotn 35 - 20 - 20 + 20; Speed four steps of 0.0025 up from 0.0035, each rounded to a single.
    EXPECT_EQ(d->Prefs(), "15\n0.013500001\n170\n1.28\n19200\n");
  }
}

// --go --screen: the flight at once, full screen on the named output, without the readout; the
// window escape makes stays there, and Restore Defaults takes that output's width.
TEST_P(Scenario, GoOnAScreenFliesThereAtOnceWithThatScreensDefaults) {
  // GTK's monitors are those with an output; those xrandr --setmonitor cuts out of Xvfb's one have none.
  if (GetParam() == std::string("xfwm4")) GTEST_SKIP() << "xfwm4 sees one monitor only on Xvfb";
  const auto d = Open({.outputs = {{1280, 800}, {1024, 768}}, .prefs = kOddPrefs, .start_lumox = false});
  if (d->Kind() == "i3") {  // the output shows workspace 7, with 2 and a window on it behind
    d->Shell("i3-msg 'focus output " + d->OutputName(1) + ", workspace 2, exec xmessage behind'");
    ASSERT_TRUE(d->WaitForWindow("xmessage", Shown));
    d->Shell("i3-msg 'workspace 7, focus output " + d->OutputName(0) + "'");
  }
  d->StartLumox({"--go", "--screen", d->OutputName(1)});
  const QRect area = d->OutputArea(1);
  ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return w.full_screen && w.geometry == area; }));
  EXPECT_TRUE(d->WaitForLit(area, 1000));
  EXPECT_FALSE(d->Window("Untitled").shown);
  EXPECT_FALSE(Flying(*d, d->OutputName(0)));
  EXPECT_EQ(GreenPixels(d->Screenshot()).count, 0);
  EXPECT_TRUE(std::filesystem::is_directory(d->File("net.tallowby.Lumox")));
  // sway keeps the keyboard on the output that had it, where the user's click hands it over; a
  // window manager gives it to the flight.
  if (!d->PlacesWindows()) d->Activate("Lumox");
  ASSERT_TRUE(d->WaitForWindow("Lumox", Focused));
  d->Keys("Escape");
  ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return Escaped(*d, 1, w); }));
  d->Keys("s");
  ASSERT_TRUE(d->WaitForWindow("Settings", Focused));
  const bool restored = d->Pointer(d->Window("Settings").geometry.topLeft() + QPoint(85, 191), true);
  d->Keys("Return");  // OK, the default button
  ASSERT_TRUE(d->WaitForWindow("Settings", [](const WindowState& w) { return !w.shown; }));
  ASSERT_TRUE(d->Quit());
  EXPECT_EQ(d->Prefs(), restored ? testing::DefaultsFor(1024)->file : "-35\n0.05\n200\n2.5\n30000\n");
}

TEST_P(Scenario, WindowFliesInEscapesWindowWithTheReadoutInItsCorner) {
  const auto d = Open({.outputs = {{1280, 800}}, .lumox_args = {"--window", "--fps"}});
  ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return w.focused && Escaped(*d, 0, w); }));
  EXPECT_FALSE(d->Window("Untitled").shown);
  const QRect window = d->Window("Lumox").geometry;
  EXPECT_TRUE(d->WaitForLit(QRect(window.x(), window.y() + 2, window.width(), 16), window.width() * 16 / 2));  // the menu bar
  EXPECT_TRUE(WaitFor([&] { return Flying(*d, "", window.adjusted(0, 30, 0, -60)); }));
  // The readout: pale green in the window's lower left corner, and nowhere else.
  Green readout;
  EXPECT_TRUE(WaitFor([&] { return (readout = GreenPixels(d->Screenshot())).count > 100; }));
  EXPECT_TRUE(QRect(window.left(), window.bottom() - 40, 250, 41).contains(readout.bounds))
      << readout.bounds.x() << "," << readout.bounds.y();

  // Escape was taken already: the next one only asks for a restore, and the moved window stays.
  const QRect moved = d->Move("Lumox", {140, 160}) ? QRect(140, 160, window.width(), window.height()) : window;
  ASSERT_TRUE(d->WaitForWindow("Lumox", [&](const WindowState& w) { return w.geometry == moved; }));
  d->Keys("Escape s");
  ASSERT_TRUE(d->WaitForWindow("Settings", Focused));
  EXPECT_EQ(d->Window("Lumox").geometry, moved);
  ASSERT_TRUE(d->Quit());
  EXPECT_EQ(d->Prefs(), testing::DefaultsFor(1280)->file);
}

// On a small screen the whole start window, its frame included, is on the screen; Ctrl+Q there quits.
TEST_P(Scenario, TheStartWindowFitsASmallScreenAndCtrlQQuitsFromIt) {
  const auto d = Open({.outputs = {{640, 480}}});
  ASSERT_TRUE(d->WaitForWindow("Untitled", [&](const WindowState& w) {
    return w.shown && w.frame.top() < w.geometry.top() && d->OutputArea(0).contains(w.frame);
  }));
  d->Activate("Untitled");
  ASSERT_TRUE(d->WaitForWindow("Untitled", Focused));
  ASSERT_TRUE(d->Quit());
  EXPECT_EQ(d->ExitStatus(), 0);
  EXPECT_EQ(d->Prefs(), "");
}

// The saver covers every output above another program's windows, those before it and after, and
// ends on a key, the pointer's motion, a click or the wheel, but not on a key held before it began.
TEST_P(Scenario, TheSaverCoversEveryOutputAboveAWindowAndEndsOnAKeyOrThePointer) {
  const auto d = Open({.outputs = {{1024, 768}, {800, 600}}, .start_lumox = false, .sway_pointer = true});
  ASSERT_TRUE(d->OpenWindow());
  ASSERT_TRUE(d->Pointer({100, 100}));
  QImage desktop;  // once the window has settled: two shots alike
  ASSERT_TRUE(WaitFor([&] { return DifferentPixels(std::exchange(desktop, d->Screenshot(d->OutputName(0))), desktop) == 0; }));
  const auto flying = [&] { return Flying(*d, d->OutputName(0)) && Flying(*d, d->OutputName(1)); };
  for (const std::string wake : {"key", "motion", "click", "wheel"}) {
    // Held as the saver starts, as a key of the command that started it; a modifier types nothing.
    if (wake == "key") d->HoldKey("Shift_L");
    d->StartLumox({"--saver"});
    ASSERT_TRUE(WaitFor(flying, 20000)) << wake;
    // On X, a window mapped later across both outputs, as a notification, is covered again at once,
    // and so it is when raised again.
    if (const auto* x = dynamic_cast<const Session*>(d.get()); x && wake == "motion") {
      const QRect across(900, 100, 300, 200);
      const pid_t cover = x->Cover(across, "ff00ff");
      for (const std::string came : {"mapped", "raised"}) {
        if (came == "raised") x->Xdo("search --name '^x_client$' windowraise %@");
        const auto start = std::chrono::steady_clock::now();
        long ms = 0;  // to the screenshot's start: a busy machine's screenshot takes a while
        EXPECT_TRUE(WaitFor([&] { return (ms = MsSince(start), ColourPixels(d->Screenshot().copy(across), qRgb(255, 0, 255), 0) == 0); }, 5000));
        std::printf("The saver back on top %ld ms after the window was %s\n", ms, came.c_str());
        EXPECT_LT(ms, 1000) << came;
      }
      EXPECT_TRUE(Flying(*d, "", across));
      StopHelper(cover);
    }
    if (wake == "key") {
      d->Keys("up:Shift_L");
      EXPECT_TRUE(flying() && d->Running()) << "ended by a key let go";
      d->Keys("a");
    } else if (wake == "wheel") {
      d->Wheel();
    } else {
      d->Pointer({140, 140}, wake == "click");
    }
    ASSERT_TRUE(d->WaitForExit(3000)) << wake;
    EXPECT_EQ(d->ExitStatus(), 0) << wake;
    // Give or take the pointer's image, which headless sway draws into the picture where it now is.
    int left = 0;
    EXPECT_TRUE(WaitFor([&] { return (left = DifferentPixels(d->Screenshot(d->OutputName(0)), desktop)) < 1000; }))
        << wake << " " << left;
  }
}

// The wallpaper: a flight of its own on each output with its readout, or on the one output named;
// on Wayland as a layer surface even where Qt's own windows were sent to X.
TEST_P(Scenario, TheWallpaperFliesOnEachOutputOrOnTheOneNamed) {
  const auto d = Open({.outputs = {{1024, 768}, {800, 600}}, .lumox_args = {"--wallpaper", "--fps"},
                       .env = {"QT_QPA_PLATFORM=xcb"}});
  const std::string one = d->OutputName(0), two = d->OutputName(1);
  ASSERT_TRUE(WaitFor([&] { return Flying(*d, one) && Flying(*d, two); }, 20000));
  for (const std::string& output : {one, two}) {
    EXPECT_TRUE(WaitFor([&] {
      const QImage shot = d->Screenshot(output);
      const Green green = GreenPixels(shot);
      return green.count > 50 && green.bounds.left() < 40 && green.bounds.bottom() > shot.height() - 40;
    })) << output;
  }
  const QRect common(0, 0, 800, 600);
  EXPECT_GT(DifferentPixels(d->Screenshot(one).copy(common), d->Screenshot(two).copy(common)), 500);
  ASSERT_TRUE(d->Terminate());

  d->StartLumox({"--wallpaper", "--output", two});
  ASSERT_TRUE(WaitFor([&] { return Flying(*d, two); }, 20000));
  EXPECT_FALSE(Flying(*d, one));
  EXPECT_TRUE(d->Terminate());
}

// The wallpaper under other programs' windows, where it matters: X11 with and without a
// compositing manager (metacity's keeps the server from telling a window that it is hidden), and
// Wayland. An output covered before it starts or after stands still, covered everywhere it costs
// nothing, and once the windows go both outputs fly again within a second.
class Covered : public Scenario {};
TEST_P(Covered, TheWallpaperStandsStillUnderAWindowCostsNothingCoveredEverywhereAndFliesAgainOnceUncovered) {
  const auto d = Open({.outputs = {{1024, 768}, {800, 600}}, .start_lumox = false});
  const std::string one = d->OutputName(0), two = d->OutputName(1);
  ASSERT_TRUE(d->OpenWindow(0));  // there before the wallpaper starts, and staying above it
  d->StartLumox({"--wallpaper"});
  ASSERT_TRUE(WaitFor([&] { return Flying(*d, two); }, 20000));
  EXPECT_FALSE(Flying(*d, one));
  ASSERT_TRUE(d->OpenWindow(1));
  EXPECT_TRUE(WaitFor([&] { return !Flying(*d, two); }));
  const double share = CpuShare(*d, 10000);
  std::printf("CPU with every output covered: %.2f%% of a core\n", share * 100.0);
  EXPECT_LT(share, 0.02);

  ASSERT_TRUE(d->CloseWindows());
  const auto uncovered = std::chrono::steady_clock::now();
  // Two pictures in a row with stars on both outputs, and different: both fly, at the latest when
  // the second was asked for. A busy machine's screenshot takes a while: its time is not counted.
  QImage last;
  long ms = 0;
  const auto moved = [&](const QImage& before, const QImage& after) {
    for (const QRect& o : {d->OutputArea(0), d->OutputArea(1)}) {
      const QImage a = before.copy(o), b = after.copy(o);
      if (LitPixels(a) <= 100 || LitPixels(b) <= 100 || DifferentPixels(a, b) <= 50) return false;
    }
    return true;
  };
  ASSERT_TRUE(WaitFor([&] {
    ms = MsSince(uncovered);
    const QImage shot = d->Screenshot();
    return moved(std::exchange(last, shot), shot);
  }));
  std::printf("Flying again %ld ms after the windows went\n", ms);
  EXPECT_LT(ms, 1000);
  EXPECT_TRUE(d->Terminate());
}

INSTANTIATE_TEST_SUITE_P(E2E, Covered, ::testing::Values("openbox", "metacity", "sway"),
                         [](const auto& info) { return std::string(info.param); });

INSTANTIATE_TEST_SUITE_P(E2E, Scenario, ::testing::Values("openbox", "xfwm4", "metacity", "i3", "sway"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace lumox::e2e
