// The wallpaper as a layer surface where only a Wayland compositor shows it: covered by
// windows, on outputs that come, go and scale, and with the compositor gone or lacking.
#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include <QApplication>
#include <QElapsedTimer>

#include "flight/flight.h"
#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

using Clock = std::chrono::steady_clock;

// The output's picture stands still: what covers the flight is drawn, not the flight.
bool StandsStill(const Desktop& sway, const std::string& output) {
  return WaitFor([&] { return DifferentPixels(sway.Screenshot(output), sway.Screenshot(output)) == 0; });
}

TEST(DesktopModesE2E, TheWallpaperStandsStillCoveredCostsNothingThereAndFollowsNewOutputs) {
  SwaySession sway({.kind = "sway", .outputs = {{1024, 768}, {800, 600}}, .lumox_args = {"--wallpaper"}});
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }, 20000));
  // A window on one output covers that flight alone; covered everywhere, it costs no CPU.
  ASSERT_TRUE(sway.OpenTerminal(true));
  EXPECT_TRUE(StandsStill(sway, "HEADLESS-1"));
  EXPECT_TRUE(Flying(sway, "HEADLESS-2"));
  sway.Shell("swaymsg focus output HEADLESS-2");
  ASSERT_TRUE(sway.OpenTerminal(true));
  ASSERT_TRUE(StandsStill(sway, "HEADLESS-2"));
  const double share = CpuShare(sway, 10000);
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

}

// At scale 2 the flight is drawn in device pixels: the same star covers four times the pixels,
// and the screen carries as much light as at scale 1.
TEST(DesktopModesE2E, AnOutputAtScaleTwoLooksAsAtScaleOne) {
  SwaySession sway({.kind = "sway", .outputs = {{800, 600}, {1600, 1200}}, .lumox_args = {"--wallpaper", "--star-size", "6"},
                    .sway_config = "output HEADLESS-2 scale 2"});
  ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1") && Flying(sway, "HEADLESS-2"); }, 20000));
  const double one = MeanLevel(sway, "HEADLESS-1"), two = MeanLevel(sway, "HEADLESS-2");
  std::printf("Mean intensity: %.3f at scale 1, %.3f at scale 2\n", one, two);
  EXPECT_EQ(sway.Screenshot("HEADLESS-2").size(), QSize(1600, 1200));
  EXPECT_GT(two, one * 0.75);
  EXPECT_LT(two, one * 1.25);
}

TEST(DesktopModesE2E, ACompositorThatGoesOrHasNoLayerShellEndsItWithOneLine) {
  {
    SwaySession sway({.kind = "sway", .outputs = {{800, 600}}, .lumox_args = {"--wallpaper"}});
    ASSERT_TRUE(WaitFor([&] { return Flying(sway, "HEADLESS-1"); }, 20000));
    sway.KillServer();
    ASSERT_TRUE(sway.WaitForExit());
    EXPECT_EQ(sway.ExitStatus(), 1);
    EXPECT_EQ(sway.Stderr(), "lumox: The Wayland compositor has gone away.\n");
  }
  const std::string folder = MakeTempFolder("lumox-bare");
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
  EXPECT_EQ(run("gone"), "lumox: The Wayland display 'gone' can't be reached.\n1\n");
  RunCommand("pkill -f " BARE_COMPOSITOR);
  pclose(compositor);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace lumox::e2e
