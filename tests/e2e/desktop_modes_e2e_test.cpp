// The flight as the desktop's wallpaper and screensaver, on every output: layer surfaces on a
// headless sway with several outputs, saver windows on an X server cut into two monitors.
#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include <QApplication>
#include <QElapsedTimer>

#include "display/flight.h"
#include "display/wayland_host.h"
#include "e2e/sway_session.h"
#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

using Clock = std::chrono::steady_clock;
long MsSince(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// The output shows a star field: lit pixels on black, and it moves.
bool Flying(const SwaySession& sway, const std::string& output) {
  const QImage first = sway.Screenshot(output);
  return LitPixels(first) > 200 && LitPixels(first, 200) < first.width() * first.height() / 20 &&
         WaitFor([&] { return DifferentPixels(first, sway.Screenshot(output)) > 50; }, 3000);
}
// The output's picture stands still: what covers the flight is drawn, not the flight.
bool StandsStill(const SwaySession& sway, const std::string& output) {
  return WaitFor([&] { return DifferentPixels(sway.Screenshot(output), sway.Screenshot(output)) == 0; });
}

constexpr char kTwoOutputs[] = "output HEADLESS-2 resolution 800x600 position 1024 0";

TEST(DesktopModesE2E, TheWallpaperFliesOnEveryOutputBehindWindowsCostsNothingCoveredAndFollowsNewOutputs) {
  SwaySession sway(1024, 768, kTwoOutputs, {"--wallpaper", "--fps"}, 2);
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }, 20000));
  // Each output carries its readout in its lower left corner.
  for (const char* output : {"HEADLESS-1", "HEADLESS-2"}) {
    const QImage shot = sway.Screenshot(output);
    EXPECT_TRUE(WaitFor([&] {
      const Green green = GreenPixels(sway.Screenshot(output));
      return green.count > 50 && green.bounds.left() < 40 && green.bounds.bottom() > shot.height() - 40;
    })) << output;
  }
  // Each output's flight is its own: their fields differ where they overlap in size.
  const QRect common(0, 0, 800, 600);
  EXPECT_GT(DifferentPixels(sway.Screenshot("HEADLESS-1").copy(common), sway.Screenshot("HEADLESS-2").copy(common)), 500);

  // A window on one output covers that flight alone; covered everywhere, it costs no CPU.
  ASSERT_TRUE(sway.OpenTerminal(true));
  EXPECT_TRUE(StandsStill(sway, "HEADLESS-1"));
  EXPECT_TRUE(Flying(sway, "HEADLESS-2"));
  sway.Shell("swaymsg focus output HEADLESS-2");
  ASSERT_TRUE(sway.OpenTerminal(true));
  ASSERT_TRUE(StandsStill(sway, "HEADLESS-2"));
  const long before = sway.CpuTicks();
  const auto start = Clock::now();
  while (MsSince(start) < 10000) SleepMs(500);  // the measure is CPU over 10 s, not a wait
  const double share = double(sway.CpuTicks() - before) / double(sysconf(_SC_CLK_TCK)) / (MsSince(start) / 1000.0);
  std::printf("CPU with every output covered: %.2f%% of a core\n", share * 100.0);
  EXPECT_LT(share, 0.02);
  sway.Shell("pkill -u $(id -u) foot");
  EXPECT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }));

  // A new output gets its flight.
  const auto added = Clock::now();
  sway.Shell("swaymsg create_output");
  ASSERT_TRUE(WaitFor([&] { return LitPixels(sway.Screenshot("HEADLESS-3")) > 200; }, 5000));
  std::printf("Flight on the new output after %ld ms\n", MsSince(added));
  EXPECT_TRUE(Flying(sway, "HEADLESS-3"));

  const auto terminated = Clock::now();
  sway.Signal(SIGTERM);
  ASSERT_TRUE(sway.WaitForExit(2000));
  EXPECT_EQ(sway.ExitStatus(), 0);
  std::printf("Ended %ld ms after SIGTERM\n", MsSince(terminated));
  EXPECT_EQ(sway.Stderr(), "");
}

// The headless seat has a keyboard only (wtype's): it has no pointer to move. The pointer's part
// is shown on X11 below, and the decision on motion events in WakeWatch's test.
TEST(DesktopModesE2E, TheSaverCoversEveryOutputAboveAWindowAndEndsOnAKey) {
  SwaySession sway(1024, 768, kTwoOutputs, {}, 2, false);
  ASSERT_TRUE(sway.OpenTerminal(false));
  const QImage desktop = sway.Screenshot("HEADLESS-1");
  sway.StartLumox({"--saver"});
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }, 20000));
  const auto woken = Clock::now();
  sway.Keys("a");
  ASSERT_TRUE(sway.WaitForExit(3000));
  std::printf("A key ended the saver after %ld ms\n", MsSince(woken));
  EXPECT_EQ(sway.ExitStatus(), 0);
  EXPECT_TRUE(WaitFor([&] { return DifferentPixels(sway.Screenshot("HEADLESS-1"), desktop) < 100; }));
}

// At scale 2 the flight is drawn in device pixels: the same star covers four times the pixels,
// and the screen carries as much light as at scale 1.
TEST(DesktopModesE2E, AnOutputAtScaleTwoLooksAsAtScaleOne) {
  SwaySession sway(800, 600, "output HEADLESS-2 resolution 1600x1200 scale 2 position 800 0",
                   {"--wallpaper", "--star-size", "6"}, 2);
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }, 20000));
  const auto light = [&](const std::string& output) {
    double sum = 0.0, pixels = 0.0;
    for (int shot = 0; shot < 6; ++shot) {
      const QImage image = sway.Screenshot(output);
      for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) sum += Level(image.pixel(x, y));
      pixels += double(image.width()) * image.height();
    }
    return sum / pixels;
  };
  const double one = light("HEADLESS-1"), two = light("HEADLESS-2");
  std::printf("Mean intensity: %.3f at scale 1, %.3f at scale 2\n", one, two);
  EXPECT_EQ(sway.Screenshot("HEADLESS-2").size(), QSize(1600, 1200));
  EXPECT_GT(two, one * 0.75);
  EXPECT_LT(two, one * 1.25);
}

TEST(DesktopModesE2E, ACompositorThatGoesOrHasNoLayerShellEndsItWithOneLine) {
  {
    SwaySession sway(800, 600, "", {"--wallpaper"});
    ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1"); }, 20000));
    sway.KillCompositor();
    ASSERT_TRUE(sway.WaitForExit());
    EXPECT_EQ(sway.ExitStatus(), 1);
    EXPECT_EQ(sway.Stderr(), "lumox: The Wayland compositor has gone away.\n");
  }
  const std::string runtime = (std::filesystem::temp_directory_path() / "lumox-bare-XXXXXX").string();
  std::string folder = runtime;
  ASSERT_TRUE(mkdtemp(folder.data()));
  FILE* compositor = popen(("XDG_RUNTIME_DIR=" + folder + " exec " BARE_COMPOSITOR).c_str(), "r");
  char socket[64] = {};
  ASSERT_TRUE(compositor && fgets(socket, sizeof socket, compositor));
  socket[strcspn(socket, "\n")] = '\0';
  const auto run = [&](const std::string& wayland) {
    std::string sanitizer;
    for (const std::string& word : SanitizerEnv()) sanitizer += "'" + word + "' ";
    return RunCommand("env -i " + sanitizer + "XDG_RUNTIME_DIR=" + folder + " WAYLAND_DISPLAY=" + wayland +
                      " " LUMOX_EXE " --wallpaper 2>&1; echo $?");
  };
  EXPECT_EQ(run(socket),
            "lumox: This Wayland compositor has no layer shell (zwlr_layer_shell_v1), so Lumox can't be its wallpaper "
            "or screensaver; GNOME offers no way for a program to be either.\n1\n");
  EXPECT_EQ(run("gone"), "lumox: the Wayland display 'gone' can't be reached.\n1\n");
  RunCommand("pkill -f " BARE_COMPOSITOR);
  pclose(compositor);
  std::filesystem::remove_all(folder);
}

// The host in this process, on the real compositor, fed the removal of an output and the close
// of a surface: the one flight goes (or is made anew) and the other flies on untouched.
TEST(DesktopModesE2E, TheHostDropsARemovedOutputsFlightAndRemakesAClosedOneLeavingTheOtherAlone) {
  SwaySession sway(800, 600, "", {}, 2, false);
  for (const std::string& word : sway.ClientEnv()) putenv(strdup(word.c_str()));
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int argc = 1;
  char name[] = "host_test";
  char* argv[] = {name, nullptr};
  QApplication app(argc, argv);
  DesktopModeOptions options;
  options.starting = [](int width) { return DefaultSettings(width); };
  int ended = -1;
  WaylandHost host(options, [&](int status, const std::string&) { ended = status; });
  std::string error;
  ASSERT_EQ(host.Start(error), 0) << error;
  const auto run_until = [&](const std::function<bool()>& done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < 10000) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return done();
  };
  const auto frames = [&](uint32_t output) { return host.FlightOn(output); };
  ASSERT_TRUE(run_until([&] { return host.FlyingOutputs().size() == 2; }));
  const uint32_t first = host.FlyingOutputs()[0], second = host.FlyingOutputs()[1];
  ASSERT_TRUE(run_until([&] { return frames(first)->Frames > 40 && frames(second)->Frames > 3; }));

  const Flight* kept = frames(second);
  host.SurfaceClosed(first);
  // A flight made anew has taken off again: its count of frames starts over.
  ASSERT_TRUE(run_until([&] { return frames(first) && frames(first)->Frames < 20; }));
  ASSERT_TRUE(run_until([&] { return frames(first)->Frames > 3; }));
  host.OutputRemoved(first);
  EXPECT_EQ(frames(first), nullptr);
  EXPECT_FALSE(host.Plan().Flying(first));
  const int64_t before = kept->Frames;
  ASSERT_TRUE(run_until([&] { return kept->Frames > before + 3; }));
  EXPECT_EQ(frames(second), kept);
  EXPECT_EQ(ended, -1);
}

// On X11: a saver window on each monitor above every window, with the keyboard and the pointer
// taken; the wallpaper in the root window, one flight a monitor.
TEST(DesktopModesE2E, OnX11TheSaverCoversEachMonitorAndEndsOnAKeyOrAMove) {
  const Monitor left{"LEFT", QRect(0, 0, 1024, 768)}, right{"RIGHT", QRect(1024, 0, 800, 600)};
  Session x({.width = 1824, .height = 768, .monitors = {left, right}, .start_lumox = false});
  x.Shell(std::string(X_WINDOW) + " hold 0 0 1824 768 >/dev/null &");
  ASSERT_TRUE(WaitFor([&] { return LitPixels(x.Screenshot()) == 0; }));
  for (const std::string& wake : {"key a", "mousemove_relative 30 30", "click 1"}) {
    x.StartLumox({"--saver"});
    for (const QRect& area : {left.area, right.area}) ASSERT_TRUE(x.WaitForLit(area, 200)) << wake;
    x.Xdo(wake);
    ASSERT_TRUE(x.WaitForExit(3000)) << wake;
    EXPECT_EQ(x.ExitStatus(), 0) << wake;
  }
  x.Shell("pkill -f '" X_WINDOW " hold'");
  x.StartLumox({"--wallpaper", "--output", "RIGHT"});
  ASSERT_TRUE(x.WaitForLit(right.area, 200));
  EXPECT_EQ(LitPixels(x.Screenshot().copy(left.area)), 0);
  x.Signal(SIGTERM);
  ASSERT_TRUE(x.WaitForExit(3000));
  EXPECT_EQ(x.ExitStatus(), 0);
}

}  // namespace
}  // namespace lumox::e2e
