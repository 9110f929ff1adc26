// Start-up as a user meets it: the start window, Quit, GO, the about window from the menu.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

int CountColour(const QImage& image, QRgb colour, int tolerance) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const QRgb p = image.pixel(x, y);
      count += std::abs(qRed(p) - qRed(colour)) <= tolerance && std::abs(qGreen(p) - qGreen(colour)) <= tolerance &&
               std::abs(qBlue(p) - qBlue(colour)) <= tolerance;
    }
  return count;
}

std::vector<std::string> VisibleWindows(const XSession& x) {
  std::istringstream ids(x.Xdo("search --onlyvisible --name '.+'"));
  std::vector<std::string> named;
  for (std::string id; ids >> id;)
    if (!x.Xdo("getwindowname " + id).empty()) named.push_back(id);
  return named;
}

TEST(ShellE2E, StartWindowComesFirstAndQuitLeavesOnlyTheEmptyDataFolder) {
  XSession x(1440, 900);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  const std::string start = lumox.WaitForWindow("Untitled");
  ASSERT_FALSE(start.empty());
  SleepMs(500);
  EXPECT_EQ(VisibleWindows(x), std::vector<std::string>{start});
  const QRect geometry = lumox.Geometry(start);
  EXPECT_EQ(geometry.size(), QSize(320, 424));

  const QImage shot = x.Screenshot().copy(geometry);
  shot.save("/tmp/lumox-start-window.png");
  // The picture with the pale green title over its lower part, the help text in black.
  EXPECT_GT(CountColour(shot.copy(11, 199, 300, 101), qRgb(0x66, 0xFF, 0x66), 40), 1500);
  EXPECT_GT(CountColour(shot.copy(11, 278, 300, 33), qRgb(0x66, 0xFF, 0x66), 60), 50);
  EXPECT_GT(CountColour(shot.copy(20, 316, 291, 75), qRgb(0, 0, 0), 60), 800);
  EXPECT_GT(LitPixels(shot.copy(11, 12, 300, 180), 60), 100);  // stars in the picture

  // Quit, clicked.
  x.Xdo("mousemove " + std::to_string(geometry.x() + 139 + 40) + " " + std::to_string(geometry.y() + 392 + 10) +
        " click 1");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_FALSE(std::filesystem::exists(data.File("LumoxPrefs")));
  EXPECT_TRUE(std::filesystem::is_directory(data.File("net.tallowby.Lumox")));
  EXPECT_TRUE(std::filesystem::is_empty(data.File("net.tallowby.Lumox")));
}

TEST(ShellE2E, CtrlQQuitsFromTheStartWindow) {
  XSession x(1024, 768);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  ASSERT_FALSE(lumox.WaitForWindow("Untitled").empty());
  SleepMs(300);
  x.Xdo("key ctrl+q");
  ASSERT_TRUE(lumox.WaitForExit(5000));
  EXPECT_FALSE(std::filesystem::exists(data.File("LumoxPrefs")));
}

TEST(ShellE2E, GoOpensTheFlightAndAboutOpensOverIt) {
  XSession x(1440, 900);
  TempDir data;
  LumoxProcess lumox(x, data.Path());
  const std::string display = lumox.Go();
  ASSERT_FALSE(display.empty());
  SleepMs(800);
  EXPECT_TRUE(lumox.WaitForWindow("Untitled", 200).empty());
  EXPECT_EQ(VisibleWindows(x), std::vector<std::string>{display});
  EXPECT_EQ(lumox.Geometry(display), QRect(0, 0, 1440, 900));

  x.Xdo("key Escape");
  SleepMs(800);
  // The menu bar of the windowed display: File, then its first item.
  x.Xdo("mousemove 35 60 click 1");
  SleepMs(400);
  x.Xdo("mousemove 90 79 click 1");
  SleepMs(800);
  std::string about;
  for (const std::string& id : VisibleWindows(x))
    if (id != display) about = id;
  ASSERT_FALSE(about.empty());
  EXPECT_EQ(x.Xdo("getwindowname " + about), "Lumox\n");
  EXPECT_EQ(lumox.Geometry(about), QRect(40, 90, 300, 300));
  const QImage a = x.Screenshot();
  a.copy(0, 0, 700, 500).save("/tmp/lumox-about-window.png");
  SleepMs(400);
  const QImage b = x.Screenshot();
  // The bright green lines over the close-up, and the stars still moving beside the window.
  EXPECT_GT(CountColour(a.copy(40, 90, 300, 280), qRgb(0x00, 0xFF, 0x80), 40), 1000);
  const QRect beside(360, 80, 250, 360);
  EXPECT_GT(DifferentPixels(a.copy(beside), b.copy(beside)), 50);

  x.Xdo("windowactivate --sync " + about);
  x.Xdo("key alt+F4");  // openbox's close
  SleepMs(600);
  EXPECT_EQ(VisibleWindows(x), std::vector<std::string>{display});
  EXPECT_TRUE(lumox.Running());
  x.Xdo("key ctrl+q");
  EXPECT_TRUE(lumox.WaitForExit(5000));
}

}  // namespace
}  // namespace lumox::e2e
