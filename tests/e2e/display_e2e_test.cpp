// The display window and the settings file, driven with real keys on a private X server.
#include <signal.h>

#include <gtest/gtest.h>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

const QRect kEscaped(20, 50, 600, 400);

TEST(DisplayE2E, ArrowKeysWithSeveralDownCountAndATerminateSignalQuitsLikeCtrlQ) {
  Session lumox(1280, 800);
  const std::string window = lumox.Fly();
  ASSERT_FALSE(window.empty());
  lumox.Xdo("key Up Up Up");
  // Left held while Up goes down: the second press finds both keys down and steps both.
  lumox.Xdo("keydown Left keydown Up keyup Up keyup Left key Right");
  // Keys are taken in order, so once escape has shown, the arrows before it have been taken too.
  lumox.Xdo("key Escape");
  ASSERT_TRUE(lumox.WaitForGeometry(window, kEscaped));
  lumox.Signal(SIGTERM);
  ASSERT_TRUE(lumox.WaitForExit());
  // Rotn 35 - 20 - 20 + 20; Speed four steps of 0.0025 up from 0.0035, each rounded to a single.
  EXPECT_EQ(lumox.Prefs(), "15\n0.013500001\n170\n1.28\n19200\n");
}

// A first run: leaving full screen and coming back, then the screen's defaults written once at quit.
TEST(DisplayE2E, EscapeLeavesFullScreenOnceAndAFirstRunWritesTheDefaultsAtQuit) {
  Session lumox(1440, 900);
  const std::string window = lumox.Fly();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(lumox.Prefs(), "");  // nothing is written until quit
  // Full screen: stars reach the top rows, where a menu bar would be, and nothing there is light grey.
  const QImage top = lumox.Screenshot().copy(0, 0, 1440, 30);
  EXPECT_GT(LitPixels(top), 0);
  EXPECT_LT(LitPixels(top, 200), 1440 * 30 / 20);

  lumox.Xdo("key Escape");
  ASSERT_TRUE(lumox.WaitForGeometry(window, kEscaped));
  const QRect field(20, 80, 600, 360);  // below the menu bar: stars on black, moving
  const QRect menu(20, 52, 600, 16);
  ASSERT_TRUE(lumox.WaitForLit(menu, 600 * 16 / 2));  // the menu bar's light strip
  const QImage a = lumox.Screenshot();
  EXPECT_GT(LitPixels(a.copy(field)), 100);
  EXPECT_LT(LitPixels(a.copy(field)), 600 * 360 / 4);
  EXPECT_TRUE(WaitFor([&] { return DifferentPixels(a.copy(field), lumox.Screenshot().copy(field)) > 100; }));

  // Moved by the user, the window stays put at the second escape: it only asks for a restore.
  // The settings window that `s` opens after it shows that escape has been taken.
  const QRect moved(140, 160, 600, 400);
  lumox.Xdo("windowmove " + window + " 140 160");
  ASSERT_TRUE(lumox.WaitForGeometry(window, moved));
  lumox.Xdo("key Escape key s");
  ASSERT_FALSE(lumox.WaitForWindow("Settings").empty());
  EXPECT_EQ(lumox.Geometry(window), moved);
  EXPECT_TRUE(lumox.Running());
  lumox.Xdo("key Return");

  // The title bar's maximize button (openbox's default theme puts it 27 px from the right end)
  // goes back to full screen, without a menu bar.
  lumox.Xdo("mousemove 713 149 click 1");
  ASSERT_TRUE(lumox.WaitForGeometry(window, QRect(0, 0, 1440, 900)));
  EXPECT_TRUE(WaitFor([&] { return LitPixels(lumox.Screenshot().copy(0, 0, 1440, 30), 200) < 1440 * 30 / 20; }));
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.ExitStatus(), 0);
  EXPECT_EQ(lumox.Prefs(), "35\n0.0035\n170\n1.44\n21600\n");
  EXPECT_EQ(lumox.PrefsWrites(), 1);
}

}  // namespace
}  // namespace lumox::e2e
