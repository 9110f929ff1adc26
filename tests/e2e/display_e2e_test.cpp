// The display window and the settings file, driven with real keys on a private X server.
#include <signal.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "e2e/inotify_counter.h"
#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

ino_t Inode(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 ? st.st_ino : 0;
}

TEST(DisplayE2E, FirstRunWritesTheScreensDefaultsOnceAtQuit) {
  XSession x(1440, 900);
  TempDir data;
  ReplaceCounter writes(data.Path(), "LumoxPrefs");
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(800);
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "");  // nothing is written until quit
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_EQ(lumox.ExitStatus(), 0);
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "35\n0.0035\n170\n1.44\n21600\n");
  EXPECT_EQ(writes.Count(), 1);
}

TEST(DisplayE2E, ATerminateSignalQuitsLikeCtrlQ) {
  XSession x(1280, 800);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(500);
  x.Xdo("key Left");
  lumox.Signal(SIGTERM);
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "15\n0.0035\n170\n1.28\n19200\n");
}

TEST(DisplayE2E, ArrowKeysSteerAndSeveralKeysDownAllCount) {
  XSession x(1440, 900);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(800);
  x.Xdo("key Up Up Up");
  // Left held while Up goes down: the second press finds both keys down and steps both.
  x.Xdo("keydown Left keydown Up keyup Up keyup Left");
  x.Xdo("key Right");
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  // Rotn 35 - 20 - 20 + 20; Speed four steps of 0.0025 up from 0.0035, each rounded to a single.
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "15\n0.013500001\n170\n1.44\n21600\n");
}

TEST(DisplayE2E, APresentFileSurvivesArrowKeysAndQuitByteForByte) {
  XSession x(1440, 900);
  TempDir data;
  const std::string text = "-35\r\n0.05\r\n200\r\n2.5\r\n30000\r\nsomething after\r\n";
  WriteFile(data.File("LumoxPrefs"), text);
  const ino_t inode = Inode(data.File("LumoxPrefs"));
  ReplaceCounter writes(data.Path(), "LumoxPrefs");
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(800);
  for (const char* key : {"Up", "Up", "Left", "Down", "Right", "Right"}) x.Xdo(std::string("key ") + key);
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), text);
  EXPECT_EQ(Inode(data.File("LumoxPrefs")), inode);
  EXPECT_EQ(writes.Count(), 0);
}

TEST(DisplayE2E, EscapeLeavesFullScreenOnceAndTheStarsFlyOn) {
  XSession x(1440, 900);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  const std::string window = lumox.Go();
  ASSERT_FALSE(window.empty());
  SleepMs(1000);
  EXPECT_EQ(lumox.Geometry(window), QRect(0, 0, 1440, 900));
  const QImage full = x.Screenshot();
  // Full screen: stars reach the top rows, where a menu bar would be, and nothing there is light grey.
  EXPECT_GT(LitPixels(full.copy(0, 0, 1440, 30)), 0);
  EXPECT_LT(LitPixels(full.copy(0, 0, 1440, 30), 200), 1440 * 30 / 20);

  x.Xdo("key Escape");
  SleepMs(1000);
  EXPECT_EQ(lumox.Geometry(window), QRect(20, 50, 600, 400));
  const QImage a = x.Screenshot();
  SleepMs(400);
  const QImage b = x.Screenshot();
  // The menu bar: a light strip across the top of the window.
  const QImage menu = a.copy(20, 52, 600, 16);
  EXPECT_GT(LitPixels(menu, 200), 600 * 16 / 2);
  // Below it the field: stars on black, moving.
  const QRect field(20, 80, 600, 360);
  EXPECT_GT(LitPixels(a.copy(field)), 100);
  EXPECT_LT(LitPixels(a.copy(field)), 600 * 360 / 4);
  EXPECT_GT(DifferentPixels(a.copy(field), b.copy(field)), 100);

  x.Xdo("key Escape");  // only asks for a restore: the window stays where it is
  SleepMs(700);
  EXPECT_EQ(lumox.Geometry(window), QRect(20, 50, 600, 400));
  EXPECT_TRUE(lumox.Running());

  // The title bar's maximize button (openbox's default theme puts it 27 px from the right end)
  // goes back to full screen, without a menu bar.
  x.Xdo("mousemove 593 39 click 1");
  SleepMs(800);
  EXPECT_EQ(lumox.Geometry(window), QRect(0, 0, 1440, 900));
  EXPECT_LT(LitPixels(x.Screenshot().copy(0, 0, 1440, 30), 200), 1440 * 30 / 20);

  x.Xdo("key ctrl+q");
  EXPECT_TRUE(lumox.WaitForExit(5000));
}

}  // namespace
}  // namespace lumox::e2e
