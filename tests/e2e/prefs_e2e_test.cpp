// The settings window driven with real keys and clicks on a private X server.
#include <gtest/gtest.h>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

const QRgb kGrey = qRgb(0xCC, 0xCC, 0xCC);

bool WaitGone(const XSession& x, const std::string& title, int ms = 5000) {
  for (int waited = 0; waited < ms; waited += 100) {
    if (x.Xdo("search --onlyvisible --name '^" + title + "$'").empty()) return true;
    SleepMs(100);
  }
  return false;
}

// Middle of a horizontal slider's handle, found on a screen row that crosses the handle but
// passes above the groove: there only the handle breaks the grey.
int HandleX(const QImage& shot, int left, int right, int y) {
  int first = -1, last = -1;
  for (int x = left; x < right; ++x) {
    if (shot.pixel(x, y) == kGrey) continue;
    if (first < 0) first = x;
    last = x;
  }
  return (first + last) / 2;
}

void Click(const XSession& x, int at_x, int at_y) {
  x.Xdo("mousemove " + std::to_string(at_x) + " " + std::to_string(at_y) + " click 1");
}

TEST(PrefsE2E, SOpensTheWindowAndFewerStarsShowAtOnce) {
  XSession x(1440, 900);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(800);
  x.Xdo("key s");
  const std::string prefs = lumox.WaitForWindow("Settings");
  ASSERT_FALSE(prefs.empty());
  SleepMs(500);
  EXPECT_EQ(lumox.Geometry(prefs), QRect(10, 50, 411, 214));
  const QImage shot = x.Screenshot();
  shot.save("/tmp/prefs_window.png");
  // Client-area points clear of every control are the window's grey; the OK button is not.
  for (const QPoint p : {QPoint(5, 5), QPoint(405, 208), QPoint(60, 170), QPoint(270, 177)})
    EXPECT_EQ(shot.pixel(p + QPoint(10, 50)), kGrey) << p.x() << "," << p.y();
  int not_grey = 0;
  for (int y = 50 + 181; y < 50 + 201; ++y)
    for (int x0 = 10 + 311; x0 < 10 + 391; ++x0) not_grey += shot.pixel(x0, y) != kGrey;
  EXPECT_GT(not_grey, 80 * 20 / 2);

  // The display beside the window: stars from the default count, then from the slider's least.
  const QRect field(450, 300, 950, 580);
  const int before = LitPixels(shot.copy(field));
  EXPECT_GT(before, 1000);
  const int row = 50 + 85;  // Slider2 spans 78 to 101 of the client area
  const int handle = HandleX(shot, 10 + 137, 10 + 391, row);
  ASSERT_GT(handle, 10 + 137);
  x.Xdo("mousemove " + std::to_string(handle) + " " + std::to_string(row + 4) + " mousedown 1");
  SleepMs(100);
  x.Xdo("mousemove 100 " + std::to_string(row + 4));
  SleepMs(100);
  x.Xdo("mouseup 1");
  SleepMs(600);
  const QImage after = x.Screenshot();
  EXPECT_LT(LitPixels(after.copy(field)), before / 20);
  // The handle went with the mouse, to the left end.
  EXPECT_LT(HandleX(after, 10 + 137, 10 + 391, row), handle - 50);

  Click(x, 10 + 351, 50 + 191);  // OK
  EXPECT_TRUE(WaitGone(x, "Settings"));
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "35\n0.0035\n170\n1.44\n100\n");
}

TEST(PrefsE2E, OpeningTheWindowOnceRewritesAPresentFileAtQuit) {
  XSession x(1440, 900);
  TempDir data;
  WriteFile(data.File("LumoxPrefs"), "-35\r\n0.05\r\n200\r\n2.5\r\n30000\r\nsomething after\r\n");
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(800);
  x.Xdo("key Left");  // before the window opens: its change reaches the file all the same
  x.Xdo("key s");
  ASSERT_FALSE(lumox.WaitForWindow("Settings").empty());
  SleepMs(400);
  Click(x, 10 + 351, 50 + 191);
  EXPECT_TRUE(WaitGone(x, "Settings"));
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "-55\n0.05\n200\n2.5\n30000\n");
}

TEST(PrefsE2E, RestoreDefaultsHoldsTheStarCountOnAWideScreen) {
  XSession x(3840, 1080);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.Go().empty());
  SleepMs(800);
  x.Xdo("key s");
  ASSERT_FALSE(lumox.WaitForWindow("Settings").empty());
  SleepMs(500);
  // Slider2 by its keys, to its least; Restore Defaults then gives 15 per pixel of width, held.
  const QRect field(1000, 300, 2800, 700);
  const int before = LitPixels(x.Screenshot().copy(field));
  const int row = 50 + 85;
  Click(x, HandleX(x.Screenshot(), 10 + 137, 10 + 391, row), row + 4);
  x.Xdo("key Home");
  SleepMs(600);
  EXPECT_LT(LitPixels(x.Screenshot().copy(field)), before / 20);
  Click(x, 10 + 85, 50 + 191);
  SleepMs(600);
  EXPECT_GT(LitPixels(x.Screenshot().copy(field)), before / 2);
  x.Xdo("key Return");  // OK, the default button
  EXPECT_TRUE(WaitGone(x, "Settings"));
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_EQ(ReadFile(data.File("LumoxPrefs")), "35\n0.0035\n170\n3.84\n50000\n");
}

}  // namespace
}  // namespace lumox::e2e
