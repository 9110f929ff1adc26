// The layer surfaces on sway: above windows, on outputs that come, go and scale, with
// input devices that come and go, the compositor gone or lacking; and --span on sway and X11.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>

#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

using Clock = std::chrono::steady_clock;

// The flight fills the output: each quarter of the screenshot is lit and moves.
bool Fills(const Desktop& sway, const std::string& output, QSize size) {
  const QImage first = sway.Screenshot(output);
  if (first.size() != size) return false;
  const int w = size.width() / 2, h = size.height() / 2;
  const QRect quarters[] = {{0, 0, w, h}, {w, 0, w, h}, {0, h, w, h}, {w, h, w, h}};
  for (const QRect& q : quarters)
    if (LitPixels(first.copy(q)) < 20) return false;
  return WaitFor([&] {
    const QImage next = sway.Screenshot(output);
    for (const QRect& q : quarters)
      if (DifferentPixels(first.copy(q), next.copy(q)) < 20) return false;
    return true;
  }, 3000);
}

// Lit squares of 2 by 2 pixels, on even rows and columns, that are not one colour: none where a
// buffer of half the size was stretched over the output.
int SplitSquares(const QImage& image) {
  int split = 0;
  for (int y = 0; y + 1 < image.height(); y += 2)
    for (int x = 0; x + 1 < image.width(); x += 2) {
      const QRgb p = image.pixel(x, y);
      split += Level(p) > 40 && (image.pixel(x + 1, y) != p || image.pixel(x, y + 1) != p || image.pixel(x + 1, y + 1) != p);
    }
  return split;
}

// With --span the outputs are windows onto one field: the columns on either side of their shared
// edge are neighbours in one picture, and a star on the edge shows on both, the smaller output
// showing the top rows of the bounding box's picture (two flights, or a star's disc cut off by the
// edge, would leave the columns unlike). An output that comes is cut into the picture in its place.
// The wallpaper on sway, the saver on X11.
TEST(DesktopModesE2E, WithSpanTheOutputsShowOneFieldAcrossTheirSharedEdge) {
  for (const char* kind : {"sway", "openbox"}) {
    auto desktop = OpenDesktop({.kind = kind, .outputs = {{800, 600}, {640, 480}}, .start_lumox = false});
    const bool sway = desktop->Kind() == "sway";
    // Slow and unturned, so both outputs' frames are alike, with stars large enough to fall on the edge.
    desktop->StartLumox({sway ? "--wallpaper" : "--saver", "--span", "--rotation", "0", "--speed", "0.0002", "--stars",
                         "50000", "--star-size", "12"});
    ASSERT_TRUE(WaitFor([&] { return Flying(*desktop, desktop->OutputName(0)) && Flying(*desktop, desktop->OutputName(1)); },
                        20000)) << kind;
    double likeness = 0.0;
    EXPECT_TRUE(WaitFor([&] { return (likeness = SeamLikeness(desktop->Screenshot(), 800, 0, 480)) > 0.6; })) << kind << " " << likeness;
    if (sway) {  // a third output, beside the second, widens the picture: each is cut anew
      desktop->Shell("swaymsg create_output");
      EXPECT_TRUE(WaitFor([&] { return (likeness = SeamLikeness(desktop->Screenshot(), 1440, 0, 480)) > 0.6; })) << likeness;
      EXPECT_TRUE(Flying(*desktop, "HEADLESS-3"));
    }
    EXPECT_TRUE(desktop->Running()) << kind;
    EXPECT_EQ(desktop->Stderr(), "") << kind;
  }
}

TEST(DesktopModesE2E, TheWallpaperFollowsOutputsThatComeAndGoAndEndsWithTheCompositor) {
  SwaySession sway({.kind = "sway", .outputs = {{1024, 768}, {800, 600}}, .lumox_args = {"--wallpaper"}});
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }, 20000));
  // A new output gets its flight.
  const auto added = Clock::now();
  sway.Shell("swaymsg create_output");
  ASSERT_TRUE(WaitFor([&] { return LitPixels(sway.Screenshot("HEADLESS-3")) > 200; }, 5000));
  std::printf("Flight on the new output after %ld ms\n", MsSince(added));
  EXPECT_TRUE(Flying(sway, "HEADLESS-3"));
  // One turned off goes with its global; turned on again, it is a new one and gets a new flight.
  sway.Shell("swaymsg output HEADLESS-3 disable");
  EXPECT_TRUE(Flying(sway, "HEADLESS-1"));
  sway.Shell("swaymsg output HEADLESS-3 enable");
  EXPECT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-3"); }));
  EXPECT_TRUE(sway.Running());
  EXPECT_EQ(sway.Stderr(), "");
  // The compositor gone: it ends in one line.
  sway.KillServer();
  ASSERT_TRUE(sway.WaitForExit());
  EXPECT_EQ(sway.ExitStatus(), 1);
  EXPECT_EQ(sway.Stderr(), "lumox: The Wayland compositor has gone away.\n");
}

// At scale 2, whether the output starts there or changes to it, the flight is drawn in device
// pixels: a buffer of the output's size, not a corner of it nor one stretched over it, as much
// light as at scale 1, and the readout twice as tall. A panel with a see-through background shows
// the flight under it: the wallpaper ignores its zone.
TEST(DesktopModesE2E, AnOutputAtScaleTwoLooksAsAtScaleOneAndFollowsAScaleOrModeChange) {
  SwaySession sway({.kind = "sway", .outputs = {{800, 600}, {1600, 1200}},
                    .lumox_args = {"--wallpaper", "--star-size", "6", "--fps"},
                    .sway_config = "output HEADLESS-2 scale 2\n"
                                   "bar {\n  output HEADLESS-1\n  position top\n  height 60\n  workspace_buttons no\n"
                                   "  colors {\n    background #00000000\n  }\n}"});
  ASSERT_TRUE(WaitFor([&] { return Fills(sway, "HEADLESS-1", {800, 600}) && Fills(sway, "HEADLESS-2", {1600, 1200}); }, 20000));
  EXPECT_TRUE(Flying(sway, "HEADLESS-1", QRect(0, 0, 800, 60)));
  EXPECT_GT(SplitSquares(sway.Screenshot("HEADLESS-2")), 20);
  const double one = MeanLevel(sway, "HEADLESS-1"), two = MeanLevel(sway, "HEADLESS-2");
  std::printf("Mean intensity: %.3f at scale 1, %.3f at scale 2\n", one, two);
  EXPECT_GT(two, one * 0.75);
  EXPECT_LT(two, one * 1.25);

  Green at_one, at_two;
  ASSERT_TRUE(WaitFor([&] { return (at_one = GreenPixels(sway.Screenshot("HEADLESS-1"))).count > 50; }));
  sway.Shell("swaymsg output HEADLESS-1 scale 2");
  EXPECT_TRUE(WaitFor([&] { return Fills(sway, "HEADLESS-1", {800, 600}) && SplitSquares(sway.Screenshot("HEADLESS-1")) > 20; }));
  EXPECT_TRUE(WaitFor([&] {
    at_two = GreenPixels(sway.Screenshot("HEADLESS-1"));
    return std::abs(at_two.bounds.height() - 2 * at_one.bounds.height()) <= 4;
  })) << "the readout's text " << at_one.bounds.height() << " pixels tall at scale 1, " << at_two.bounds.height() << " at 2";
  sway.Shell("swaymsg output HEADLESS-1 mode 640x480");
  EXPECT_TRUE(WaitFor([&] { return Fills(sway, "HEADLESS-1", {640, 480}) && SplitSquares(sway.Screenshot("HEADLESS-1")) > 20; }));
  sway.Shell("swaymsg output HEADLESS-2 scale 1");
  EXPECT_TRUE(WaitFor([&] { return Fills(sway, "HEADLESS-2", {1600, 1200}); }));
}

// The wallpaper's layer: under an ordinary window by default, above it on the top layer, and above
// a full-screen one only on the overlay. It never takes the pointer or the keys, which reach the
// windows under it.
TEST(DesktopModesE2E, TheWallpapersLayerPutsItUnderOrAboveWindowsAndInputGoesToThem) {
  SwaySession sway({.kind = "sway", .outputs = {{800, 600}}, .start_lumox = false,
                    .sway_config = "for_window [title=^over$] floating enable, resize set 400 300, move position center"});
  ASSERT_TRUE(sway.PlugPointer(true));
  ASSERT_TRUE(sway.OpenTerminal(false, "--title=over sh -c \"cat > data/typed\""));
  ASSERT_TRUE(sway.WaitForWindow("over", [](const WindowState& w) {
    return Focused(w) && w.geometry.width() <= 400 && std::abs(w.geometry.center().x() - 400) < 10;
  }));
  const QRect window = sway.Window("over").geometry;
  const QRect beside(0, 0, window.left() - 20, 600);  // clear of the window's border
  const QImage terminal = sway.Screenshot("HEADLESS-1").copy(window);

  sway.StartLumox({"--wallpaper"});
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1", beside); }, 20000));
  EXPECT_EQ(DifferentPixels(sway.Screenshot("HEADLESS-1").copy(window), terminal), 0);
  EXPECT_TRUE(sway.Terminate());
  // A tiled window behind the floating one takes the focus; the pointer gives it back through the wallpaper.
  ASSERT_TRUE(sway.OpenTerminal(false, "--title=under sleep 86400"));
  ASSERT_TRUE(sway.WaitForWindow("under", Focused));
  sway.StartLumox({"--wallpaper", "--layer", "top"});
  EXPECT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1", window); }, 20000));
  ASSERT_TRUE(sway.Pointer(window.center(), true));
  ASSERT_TRUE(sway.WaitForWindow("over", Focused));
  sway.Shell("swaymsg fullscreen enable");
  ASSERT_TRUE(sway.WaitForWindow("over", [](const WindowState& w) { return w.full_screen; }));
  EXPECT_TRUE(WaitFor([&] { return !Flying(sway, "HEADLESS-1"); }));
  EXPECT_TRUE(sway.Terminate());
  sway.StartLumox({"--wallpaper", "--layer", "overlay"});
  EXPECT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1"); }, 20000));
  // Above everything and still not the keyboard's: the line typed reaches the terminal.
  sway.Keys("l u m o x Return");
  EXPECT_TRUE(WaitFor([&] { return ReadFile(sway.File("typed")) == "lumox\n"; })) << ReadFile(sway.File("typed"));
  EXPECT_TRUE(Flying(sway, "HEADLESS-1"));
  EXPECT_TRUE(sway.Terminate());
}

// A keyboard or a pointer that goes while the saver flies, and a new one: a key on the new
// keyboard ends it, or a click of the new pointer, which stays where it was, so its motion ends
// nothing. A key held as the saver starts, as one that started it may be, is let go without ending it.
TEST(DesktopModesE2E, TheSaverEndsOnAKeyboardOrPointerPluggedInAnewAndOutlivesAKeyLetGo) {
  SwaySession sway({.kind = "sway", .outputs = {{800, 600}}, .start_lumox = false, .sway_pointer = true});
  const QPoint at(400, 300);
  ASSERT_TRUE(sway.Pointer(at));
  for (const bool keyboard : {false, true}) {
    SCOPED_TRACE(keyboard ? "keyboard" : "pointer");
    // wayvnc's pointer comes with a keyboard of its own, which would stay in the seat.
    ASSERT_TRUE(keyboard ? sway.PlugPointer(false) : sway.HoldKey('a', true));
    sway.StartLumox({"--saver"}, {"WAYLAND_DEBUG=1"});
    ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1"); }, 20000));
    if (!keyboard) {
      ASSERT_TRUE(sway.HoldKey('a', false));
      // Frames drawn after the release was answered are drawn after lumox read it.
      EXPECT_TRUE(Flying(sway, "HEADLESS-1"));
      ASSERT_TRUE(sway.Running());
    }
    ASSERT_TRUE(keyboard ? sway.PlugKeyboard(false) : sway.PlugPointer(false));
    ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1"); }));
    // The protocol log: the keyboard gone is let go, so the compositor keeps nothing of it.
    if (keyboard) EXPECT_TRUE(WaitFor([&] { return std::regex_search(sway.Stderr(), std::regex(R"(-> wl_keyboard@\d+\.release\(\))")); }));
    ASSERT_TRUE(keyboard ? sway.PlugKeyboard(true) : sway.PlugPointer(true));
    // Input before lumox has asked for the new device reaches nobody, so it is given again.
    EXPECT_TRUE(WaitFor([&] {
      if (keyboard) sway.Keys("a");
      return (keyboard || sway.Pointer(at, true)) && sway.WaitForExit(500);
    }));
    EXPECT_EQ(sway.ExitStatus(), 0);
  }
}

// swayidle as the README has it: once the seat is idle the saver comes; a key ends it (status 0),
// and the next idle time brings it back.
TEST(DesktopModesE2E, UnderSwayidleTheSaverComesWhenIdleAndAKeyEndsIt) {
  SwaySession sway({.kind = "sway", .outputs = {{800, 600}}, .start_lumox = false});
  sway.Shell("swayidle -w timeout 1 './lumox --saver; echo $? >> data/ended' >/dev/null 2>&1 &");
  for (const std::string ended : {"0\n", "0\n0\n"}) {
    ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1"); }, 20000)) << ended;
    sway.Keys("a");
    EXPECT_TRUE(WaitFor([&] { return ReadFile(sway.File("ended")) == ended; })) << ReadFile(sway.File("ended"));
  }
}

// Weston offers no layer shell.
TEST(DesktopModesE2E, WestonOrNoCompositorAtThatNameEndsItWithOneLine) {
  const std::string folder = MakeTempFolder("lumox-weston");
  const pid_t weston = StartHelper({"env", "XDG_RUNTIME_DIR=" + folder, "weston", "--backend=headless-backend.so",
                                    "--socket=weston", "--idle-time=0"});
  ASSERT_TRUE(WaitFor([&] { return std::filesystem::exists(folder + "/weston"); }, 20000));
  const auto run = [&](const std::string& wayland) {
    return RunCommand("env -i " + ShellWords(SanitizerEnv()) + "XDG_RUNTIME_DIR=" + folder + " WAYLAND_DISPLAY=" + wayland +
                      " " LUMOX_EXE " --wallpaper 2>&1; echo $?");
  };
  EXPECT_EQ(run("weston"),
            "lumox: This Wayland compositor has no layer shell (zwlr_layer_shell_v1), so Lumox can't be its wallpaper "
            "or screensaver.\n1\n");
  EXPECT_EQ(run("gone"), "lumox: The Wayland display 'gone' can't be reached.\n1\n");
  StopHelper(weston);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace lumox::e2e
