// The start window as drawn, its Quit button, the icons, the about window, and the flight at scale 2.
#include <filesystem>
#include <sstream>

#include "e2e/desktop.h"
#include "support/defaults_table.h"

namespace lumox::e2e {
namespace {

std::vector<std::string> VisibleWindows(const Session& lumox) {
  std::istringstream ids(lumox.Xdo("search --onlyvisible --name '.+'"));
  std::vector<std::string> named;
  for (std::string id; ids >> id;)
    if (!lumox.Xdo("getwindowname " + id).empty()) named.push_back(id);
  return named;
}

// The sizes of the square icons in _NET_WM_ICON, smallest first.
std::string IconSizes(const Session& lumox, const std::string& window) {
  return lumox.Shell("xprop -id " + window + " _NET_WM_ICON | sed -n 's/.*Icon (\\([0-9]*\\) x \\1).*/\\1/p' | sort -nu | xargs");
}
const char kIconSizes[] = "16 24 32 48 64 128\n";

TEST(ShellE2E, StartWindowComesFirstQuitLeavesTheEmptyDataFolderAndTheAboutWindowGoesOverTheFlight) {
  Session lumox({.outputs = {{1440, 900}}});
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", Shown));
  const std::string start = lumox.Window("Untitled").id;
  EXPECT_EQ(VisibleWindows(lumox), std::vector<std::string>{start});
  const QRect geometry = lumox.Geometry(start);
  EXPECT_EQ(geometry.size(), QSize(320, 424));
  EXPECT_EQ(IconSizes(lumox, start), kIconSizes);
  ASSERT_TRUE(lumox.WaitForLit(geometry.adjusted(11, 12, 0, 0), 1000));  // drawn
  const QImage shot = lumox.Screenshot().copy(geometry);
  // The picture with the pale green title over its lower part, the help text in black.
  EXPECT_GT(ColourPixels(shot.copy(11, 199, 300, 101), qRgb(0x66, 0xFF, 0x66), 40), 1500);
  EXPECT_GT(ColourPixels(shot.copy(11, 278, 300, 33), qRgb(0x66, 0xFF, 0x66), 60), 50);
  EXPECT_GT(ColourPixels(shot.copy(20, 316, 291, 75), qRgb(0, 0, 0), 60), 800);
  EXPECT_GT(LitPixels(shot.copy(11, 12, 300, 180), 60), 100);  // stars in the picture

  lumox.Xdo(MouseTo(geometry.topLeft() + QPoint(139 + 40, 392 + 10)) + " click 1");  // Quit
  ASSERT_TRUE(lumox.WaitForExit());
  EXPECT_FALSE(std::filesystem::exists(lumox.File("LumoxPrefs")));
  const std::string data = lumox.File("net.tallowby.Lumox");
  EXPECT_TRUE(std::filesystem::is_directory(data) && std::filesystem::is_empty(data));

  // Again, to the flight: the about window over it, then full screen again by the title bar.
  lumox.StartLumox({});
  const std::string display = lumox.Fly();
  ASSERT_FALSE(display.empty());
  EXPECT_EQ(VisibleWindows(lumox), std::vector<std::string>{display});
  EXPECT_EQ(IconSizes(lumox, display), kIconSizes);
  // Stars up to the top rows, where the menu bar is once escape has shown it.
  EXPECT_GT(LitPixels(lumox.Screenshot().copy(0, 0, 1440, 30)), 0);
  lumox.Keys("Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const WindowState& w) { return w.geometry == QRect(20, 50, 600, 400); }));
  ASSERT_TRUE(lumox.WaitForLit(QRect(20, 52, 600, 16), 600 * 16 / 2));

  // The menu bar's File, then its first item.
  lumox.Xdo("mousemove 35 60 click 1");
  ASSERT_TRUE(lumox.WaitForLit(QRect(30, 70, 100, 40), 100 * 40 / 2, 5000));  // the menu is open
  lumox.Xdo("mousemove 90 79 click 1");
  std::vector<std::string> shown;
  ASSERT_TRUE(WaitFor([&] { return (shown = VisibleWindows(lumox)).size() == 2; }));
  const std::string about = shown[0] == display ? shown[1] : shown[0];
  EXPECT_EQ(lumox.Xdo("getwindowname " + about), "Lumox\n");
  EXPECT_TRUE(WaitFor([&] { return lumox.Geometry(about) == QRect(40, 90, 300, 300); }));
  // The bright green lines over the close-up, and the stars still moving beside the window.
  QImage a;
  EXPECT_TRUE(WaitFor([&] { return ColourPixels((a = lumox.Screenshot()).copy(40, 90, 300, 280), qRgb(0x00, 0xFF, 0x80), 40) > 1000; }));
  const QRect beside(360, 80, 250, 360);
  EXPECT_TRUE(WaitFor([&] { return DifferentPixels(a.copy(beside), lumox.Screenshot().copy(beside)) > 50; }));
  lumox.Xdo("windowactivate --sync " + about + " key alt+F4");  // openbox's close
  EXPECT_TRUE(WaitFor([&] { return VisibleWindows(lumox) == std::vector<std::string>{display}; }));

  // Openbox's maximize button, 27 px from the title bar's right end: full screen, no menu bar.
  // Escape's size is held against the window manager for a moment, so it's pressed until taken.
  ASSERT_TRUE(WaitFor([&] {
    lumox.Xdo("mousemove 593 39 click 1");
    return WaitFor([&] { return lumox.Geometry(display) == QRect(0, 0, 1440, 900); }, 1000);
  }));
  EXPECT_TRUE(WaitFor([&] { return LitPixels(lumox.Screenshot().copy(0, 0, 1440, 30), 200) < 1440 * 30 / 20; }));
  EXPECT_TRUE(lumox.Quit());  // the defaults it writes are the test below's
}

// Stars of 4 pixels, as llvmpipe draws any smooth point up to size 2 as one of 2; the defaults come
// from the logical width.
TEST(ShellE2E, AtScaleTwoTheFlightLooksAsAtScaleOne) {
  const auto fly = [](int width, const char* prefs, std::vector<std::string> env, std::vector<std::string> args) {
    Session lumox({.outputs = {{width, width * 5 / 8}}, .prefs = prefs, .lumox_args = std::move(args), .env = std::move(env)});
    const double level = lumox.Fly().empty() ? 0.0 : MeanLevel(lumox, "");
    lumox.Quit();
    return std::pair(level, lumox.Prefs());
  };
  const char* large = "35\n0.0035\n170\n4\n50000\n";
  const double one = fly(1440, large, {}, {}).first, two = fly(2880, large, {"QT_SCALE_FACTOR=2"}, {"--fps"}).first;
  EXPECT_GT(two, one * 0.75);
  EXPECT_LT(two, one * 1.25);
  EXPECT_EQ(fly(2880, nullptr, {"QT_SCALE_FACTOR=2"}, {}).second, testing::DefaultsFor(1440)->file);
}

}  // namespace
}  // namespace lumox::e2e
