// The desktop modes on X11 among other programs: windows that cover the wallpaper, and a grab
// another program holds. Times are printed as measured.
#include <gtest/gtest.h>

#include <cstdio>

#include "desktop/desktop_core.h"
#include "e2e/desktop.h"

namespace lumox::e2e {
namespace {

using Clock = std::chrono::steady_clock;

// Under a compositing window manager (metacity) the X server can't tell a window that it is hidden.
TEST(X11DesktopE2E, TheWallpaperCoveredEverywhereCostsNothingAndFliesAgainOnceUncovered) {
  for (const char* kind : {"openbox", "metacity"}) {
    SCOPED_TRACE(kind);
    Session session({.kind = kind, .outputs = {{1024, 768}, {800, 600}}, .start_lumox = false});
    const QRect one = session.OutputArea(0), two = session.OutputArea(1);
    // A window there before the wallpaper starts stays above it: that output's flight alone waits.
    const pid_t first = session.Cover(one, "000000");
    ASSERT_GT(first, 0);
    session.StartLumox({"--wallpaper"});
    ASSERT_TRUE(WaitFor([&] { return Flying(session, "", two); }, 20000));
    EXPECT_FALSE(Flying(session, "", one));
    const pid_t second = session.Cover(two, "000000");
    ASSERT_GT(second, 0);
    const double share = CpuShare(session, 10000);
    std::printf("CPU with every output covered: %.2f%% of a core\n", share * 100.0);
    EXPECT_LT(share, 0.02);
    // Both windows dragged onto the first output: the second flies again.
    session.Xdo("search --name '^x_client$' windowmove --sync %@ " + std::to_string(one.x()) + " " + std::to_string(one.y()));
    EXPECT_TRUE(WaitFor([&] { return Flying(session, "", two) && !Flying(session, "", one); }));

    // Put away (unmapped, as a minimised window is), they hide nothing.
    session.Xdo("search --name '^x_client$' windowunmap --sync %@");
    const auto uncovered = Clock::now();
    // Two pictures in a row with stars on both outputs, and different: both fly, at the latest when
    // the second was asked for. A busy machine's screenshot takes a while: its time is not counted.
    QImage last;
    long ms = 0;
    const auto lit = [](const QImage& shot, const QRect& area) { return LitPixels(shot.copy(area)) > 100; };
    ASSERT_TRUE(WaitFor([&] {
      ms = MsSince(uncovered);
      const QImage shot = session.Screenshot();
      const bool moving = !last.isNull() && lit(last, one) && lit(last, two) && lit(shot, one) && lit(shot, two) &&
                          DifferentPixels(last.copy(one), shot.copy(one)) > 50 &&
                          DifferentPixels(last.copy(two), shot.copy(two)) > 50;
      last = shot;
      return moving;
    }));
    std::printf("Flying again %ld ms after the windows went\n", ms);
    EXPECT_LT(ms, 1000);
    StopHelper(first);
    StopHelper(second);
  }
}

TEST(X11DesktopE2E, TheSaverGivesUpInOneLineWhenAnotherProgramHoldsTheGrab) {
  Session session({.outputs = {{1024, 768}, {800, 600}}, .start_lumox = false});
  std::string said;
  const pid_t grab = session.XClient("grab", &said);
  ASSERT_EQ(said, "grabbed");
  const auto start = Clock::now();
  session.StartLumox({"--saver"});
  ASSERT_TRUE(session.WaitForExit(10000));
  std::printf("The saver gave up the grab after %ld ms\n", MsSince(start));
  EXPECT_EQ(session.ExitStatus(), 1);
  EXPECT_EQ(session.Stderr(), "lumox: " + desktop_line::GrabTaken() + "\n");
  // Nothing of it is left over the desktop.
  EXPECT_TRUE(WaitFor([&] { return LitPixels(session.Screenshot()) == 0; }));
  StopHelper(grab);
}

}  // namespace
}  // namespace lumox::e2e
