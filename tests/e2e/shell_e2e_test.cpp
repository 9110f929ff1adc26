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

std::vector<std::string> VisibleWindows(const Session& lumox) {
  std::istringstream ids(lumox.Xdo("search --onlyvisible --name '.+'"));
  std::vector<std::string> named;
  for (std::string id; ids >> id;)
    if (!lumox.Xdo("getwindowname " + id).empty()) named.push_back(id);
  return named;
}

TEST(ShellE2E, StartWindowComesFirstAndQuitLeavesOnlyTheEmptyDataFolder) {
  Session lumox(1440, 900);
  const std::string start = lumox.WaitForWindow("Untitled");
  ASSERT_FALSE(start.empty());
  SleepMs(500);
  EXPECT_EQ(VisibleWindows(lumox), std::vector<std::string>{start});
  const QRect geometry = lumox.Geometry(start);
  EXPECT_EQ(geometry.size(), QSize(320, 424));

  const QImage shot = lumox.Screenshot().copy(geometry);
  // The picture with the pale green title over its lower part, the help text in black.
  EXPECT_GT(CountColour(shot.copy(11, 199, 300, 101), qRgb(0x66, 0xFF, 0x66), 40), 1500);
  EXPECT_GT(CountColour(shot.copy(11, 278, 300, 33), qRgb(0x66, 0xFF, 0x66), 60), 50);
  EXPECT_GT(CountColour(shot.copy(20, 316, 291, 75), qRgb(0, 0, 0), 60), 800);
  EXPECT_GT(LitPixels(shot.copy(11, 12, 300, 180), 60), 100);  // stars in the picture

  lumox.Xdo(MouseTo(geometry.topLeft() + QPoint(139 + 40, 392 + 10)) + " click 1");  // Quit
  ASSERT_TRUE(lumox.WaitForExit());
  EXPECT_FALSE(std::filesystem::exists(lumox.File("LumoxPrefs")));
  EXPECT_TRUE(std::filesystem::is_directory(lumox.File("net.tallowby.Lumox")));
  EXPECT_TRUE(std::filesystem::is_empty(lumox.File("net.tallowby.Lumox")));
}

TEST(ShellE2E, CtrlQQuitsFromTheStartWindow) {
  Session lumox(1024, 768);
  ASSERT_FALSE(lumox.WaitForWindow("Untitled").empty());
  SleepMs(300);
  ASSERT_TRUE(lumox.Quit());
  EXPECT_FALSE(std::filesystem::exists(lumox.File("LumoxPrefs")));
}

TEST(ShellE2E, GoOpensTheFlightAndAboutOpensOverIt) {
  Session lumox(1440, 900);
  const std::string display = lumox.Fly();
  ASSERT_FALSE(display.empty());
  EXPECT_TRUE(lumox.WaitForWindow("Untitled", 200).empty());
  EXPECT_EQ(VisibleWindows(lumox), std::vector<std::string>{display});

  // Windowed, the menu bar's File, then its first item.
  lumox.Xdo("key Escape sleep 0.8 mousemove 35 60 click 1 sleep 0.4 mousemove 90 79 click 1 sleep 0.8");
  std::string about;
  for (const std::string& id : VisibleWindows(lumox))
    if (id != display) about = id;
  ASSERT_FALSE(about.empty());
  EXPECT_EQ(lumox.Xdo("getwindowname " + about), "Lumox\n");
  EXPECT_EQ(lumox.Geometry(about), QRect(40, 90, 300, 300));
  const QImage a = lumox.Screenshot();
  SleepMs(400);
  // The bright green lines over the close-up, and the stars still moving beside the window.
  EXPECT_GT(CountColour(a.copy(40, 90, 300, 280), qRgb(0x00, 0xFF, 0x80), 40), 1000);
  const QRect beside(360, 80, 250, 360);
  EXPECT_GT(DifferentPixels(a.copy(beside), lumox.Screenshot().copy(beside)), 50);

  lumox.Xdo("windowactivate --sync " + about + " key alt+F4 sleep 0.6");  // openbox's close
  EXPECT_EQ(VisibleWindows(lumox), std::vector<std::string>{display});
  EXPECT_TRUE(lumox.Quit());
}

}  // namespace
}  // namespace lumox::e2e
