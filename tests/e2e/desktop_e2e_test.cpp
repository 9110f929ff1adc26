// The flight on the window managers desktops run, driven with real keys and clicks.
#include <gtest/gtest.h>

#include <sstream>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

const QRgb kGrey = qRgb(0xCC, 0xCC, 0xCC);

class DesktopE2E : public ::testing::TestWithParam<const char*> {};

// The keyboard follows the flight wherever the pointer is: at GO, after escape, into the settings
// window that `s` opens and back when escape puts that away.
TEST_P(DesktopE2E, KeysReachTheFlightWithoutThePointerOverIt) {
  Session lumox({1280, 800, nullptr, GetParam()});
  const std::string window = lumox.Fly();  // focused at GO, without a click
  ASSERT_FALSE(window.empty());
  lumox.Xdo("key Escape");
  ASSERT_TRUE(lumox.WaitForGeometry(window, QRect(20, 50, 600, 400)));
  ASSERT_TRUE(lumox.WaitForActive(window));
  // Away from the window; a lone Alt must not send the next arrow to the menu bar.
  lumox.Xdo("mousemove 1100 700 key Up alt Left s");
  const std::string prefs = lumox.WaitForWindow("Settings");
  ASSERT_FALSE(prefs.empty());
  ASSERT_TRUE(lumox.WaitForActive(prefs));
  // Held Left steps again at the press of any other key, as on the display.
  lumox.Xdo("keydown Left key a keyup Left key Escape");
  ASSERT_TRUE(WaitFor([&] { return lumox.Iconic(prefs); }));
  ASSERT_TRUE(lumox.WaitForActive(window));
  lumox.Xdo("key Up");
  ASSERT_TRUE(lumox.Quit());
  // Rotn 35 - 20 (display) - 20 - 20 (settings); Speed two steps up from 0.0035.
  EXPECT_EQ(lumox.Prefs(), "-25\n0.0085\n170\n1.28\n19200\n");
}

// The settings window stays above the full-screen flight when the flight is clicked, and escape
// puts it away (iconic for the window manager, not only for Qt) every time.
TEST_P(DesktopE2E, TheSettingsWindowStaysAboveTheFlightAndEscapeAlwaysIconifiesIt) {
  Session lumox({1280, 800, nullptr, GetParam()});
  const std::string window = lumox.Fly();
  ASSERT_FALSE(window.empty());
  lumox.Xdo("key s");
  const std::string prefs = lumox.WaitForWindow("Settings");
  ASSERT_FALSE(prefs.empty());
  const QPoint inside = lumox.Geometry(prefs).topLeft() + QPoint(5, 5);
  ASSERT_TRUE(WaitFor([&] { return lumox.Screenshot().pixel(inside) == kGrey; }));
  lumox.Xdo("mousemove 900 600 click 1");
  // The click reaches the flight: it takes the focus, or (xfwm4) hands it on to its dialog.
  ASSERT_TRUE(WaitFor([&] {
    return lumox.ActiveWindow() == window ||
           lumox.Shell("xprop -id " + prefs + " WM_TRANSIENT_FOR").find("window id") != std::string::npos;
  }));
  EXPECT_TRUE(WaitFor([&] { return lumox.Screenshot().pixel(inside) == kGrey; }, 3000));

  for (int attempt = 0; attempt < 10; ++attempt) {
    lumox.Xdo("key s");
    ASSERT_TRUE(WaitFor([&] { return !lumox.Iconic(prefs) && lumox.ActiveWindow() == prefs; })) << attempt;
    lumox.Xdo("key Escape");
    ASSERT_TRUE(lumox.WaitForActive(window)) << attempt;
    EXPECT_TRUE(WaitFor([&] { return lumox.Iconic(prefs); })) << attempt;
    EXPECT_EQ(lumox.Geometry(window), QRect(0, 0, 1280, 800)) << attempt;  // the flight stays full screen
  }
  ASSERT_TRUE(lumox.Quit());
}

// On a small screen the whole start window, title bar included, is on the screen; Ctrl+Q there quits.
TEST_P(DesktopE2E, TheStartWindowFitsASmallScreenAndCtrlQQuitsFromIt) {
  Session lumox({640, 480, nullptr, GetParam()});
  const std::string start = lumox.WaitForWindow("Untitled");
  ASSERT_FALSE(start.empty());
  int left = -1, right = -1, top = -1, bottom = -1;
  ASSERT_TRUE(WaitFor([&] {
    std::istringstream(lumox.Shell("xprop -id " + start + " _NET_FRAME_EXTENTS | tr -c '0-9\\n' ' ' | awk '{print $1, $2, $3, $4}'")) >>
        left >> right >> top >> bottom;
    return top > 0;
  }));
  const QRect client = lumox.Geometry(start);
  EXPECT_GE(client.top() - top, 0);
  EXPECT_GE(client.left() - left, 0);
  EXPECT_LE(client.bottom() + bottom, 479);
  EXPECT_LE(client.right() + right, 639);
  lumox.Xdo("windowactivate --sync " + start);
  ASSERT_TRUE(lumox.WaitForActive(start));
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), "");
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, DesktopE2E, ::testing::ValuesIn(kWindowManagers),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace lumox::e2e
