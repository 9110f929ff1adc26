// The display window and the settings file, driven with real keys on a private X server.
#include <signal.h>

#include <gtest/gtest.h>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

TEST(DisplayE2E, ArrowKeysWithSeveralDownCountAndATerminateSignalQuitsLikeCtrlQ) {
  Session lumox(1280, 800);
  ASSERT_FALSE(lumox.Fly().empty());
  lumox.Xdo("key Up Up Up");
  // Left held while Up goes down: the second press finds both keys down and steps both.
  lumox.Xdo("keydown Left keydown Up keyup Up keyup Left");
  lumox.Xdo("key Right sleep 0.5");  // the signal must not overtake the keys
  lumox.Signal(SIGTERM);
  ASSERT_TRUE(lumox.WaitForExit());
  // Rotn 35 - 20 - 20 + 20; Speed four steps of 0.0025 up from 0.0035, each rounded to a single.
  EXPECT_EQ(lumox.Prefs(), "15\n0.013500001\n170\n1.28\n19200\n");
}

TEST(DisplayE2E, APresentFileSurvivesArrowKeysAndQuitByteForByte) {
  Session lumox(1440, 900, kOddPrefs);
  ASSERT_FALSE(lumox.Fly().empty());
  lumox.Xdo("key Up Up Left Down Right Right");
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), kOddPrefs);
  EXPECT_EQ(lumox.PrefsWrites(), 0);  // neither replaced nor made anew
}

// A first run: leaving full screen and coming back, then the screen's defaults written once at quit.
TEST(DisplayE2E, EscapeLeavesFullScreenOnceAndAFirstRunWritesTheDefaultsAtQuit) {
  Session lumox(1440, 900);
  const std::string window = lumox.Fly(1000);
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(lumox.Prefs(), "");  // nothing is written until quit
  // Full screen: stars reach the top rows, where a menu bar would be, and nothing there is light grey.
  const QImage top = lumox.Screenshot().copy(0, 0, 1440, 30);
  EXPECT_GT(LitPixels(top), 0);
  EXPECT_LT(LitPixels(top, 200), 1440 * 30 / 20);

  lumox.Xdo("key Escape sleep 1");
  EXPECT_EQ(lumox.Geometry(window), QRect(20, 50, 600, 400));
  const QImage a = lumox.Screenshot();
  SleepMs(400);
  const QRect field(20, 80, 600, 360);  // below the menu bar: stars on black, moving
  const QImage b = lumox.Screenshot().copy(field);
  EXPECT_GT(LitPixels(a.copy(20, 52, 600, 16), 200), 600 * 16 / 2);  // the menu bar's light strip
  EXPECT_GT(LitPixels(a.copy(field)), 100);
  EXPECT_LT(LitPixels(a.copy(field)), 600 * 360 / 4);
  EXPECT_GT(DifferentPixels(a.copy(field), b), 100);

  lumox.Xdo("key Escape sleep 0.7");  // only asks for a restore: the window stays where it is
  EXPECT_EQ(lumox.Geometry(window), QRect(20, 50, 600, 400));
  EXPECT_TRUE(lumox.Running());

  // The title bar's maximize button (openbox's default theme puts it 27 px from the right end)
  // goes back to full screen, without a menu bar.
  lumox.Xdo("mousemove 593 39 click 1 sleep 0.8");
  EXPECT_EQ(lumox.Geometry(window), QRect(0, 0, 1440, 900));
  EXPECT_LT(LitPixels(lumox.Screenshot().copy(0, 0, 1440, 30), 200), 1440 * 30 / 20);
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.ExitStatus(), 0);
  EXPECT_EQ(lumox.Prefs(), "35\n0.0035\n170\n1.44\n21600\n");
  EXPECT_EQ(lumox.PrefsWrites(), 1);
}

}  // namespace
}  // namespace lumox::e2e
