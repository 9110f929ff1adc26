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
  EXPECT_EQ(VisibleWindows(lumox), std::vector<std::string>{start});
  const QRect geometry = lumox.Geometry(start);
  EXPECT_EQ(geometry.size(), QSize(320, 424));

  ASSERT_TRUE(lumox.WaitForLit(geometry.adjusted(11, 12, 0, 0), 1000));  // drawn
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
  const std::string start = lumox.WaitForWindow("Untitled");
  ASSERT_FALSE(start.empty());
  lumox.Xdo("windowactivate --sync " + start);
  ASSERT_TRUE(lumox.WaitForActive(start));
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
  lumox.Xdo("key Escape");
  ASSERT_TRUE(lumox.WaitForGeometry(display, QRect(20, 50, 600, 400)));
  ASSERT_TRUE(lumox.WaitForLit(QRect(20, 52, 600, 16), 600 * 16 / 2));  // the menu bar is drawn
  lumox.Xdo("mousemove 35 60 click 1");
  ASSERT_TRUE(lumox.WaitForLit(QRect(30, 70, 100, 40), 100 * 40 / 2, 5000));  // the menu is open
  lumox.Xdo("mousemove 90 79 click 1");
  std::string about;
  ASSERT_TRUE(WaitFor([&] {
    for (const std::string& id : VisibleWindows(lumox))
      if (id != display) about = id;
    return !about.empty();
  }));
  EXPECT_EQ(lumox.Xdo("getwindowname " + about), "Lumox\n");
  EXPECT_TRUE(lumox.WaitForGeometry(about, QRect(40, 90, 300, 300)));
  // The bright green lines over the close-up, and the stars still moving beside the window.
  QImage a;
  EXPECT_TRUE(WaitFor([&] { return CountColour((a = lumox.Screenshot()).copy(40, 90, 300, 280), qRgb(0x00, 0xFF, 0x80), 40) > 1000; }));
  const QRect beside(360, 80, 250, 360);
  EXPECT_TRUE(WaitFor([&] { return DifferentPixels(a.copy(beside), lumox.Screenshot().copy(beside)) > 50; }));

  lumox.Xdo("windowactivate --sync " + about + " key alt+F4");  // openbox's close
  EXPECT_TRUE(WaitFor([&] { return VisibleWindows(lumox) == std::vector<std::string>{display}; }));
  EXPECT_TRUE(lumox.Quit());
}

}  // namespace
}  // namespace lumox::e2e
