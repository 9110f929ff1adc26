// The real program as a native Wayland client on a headless sway, driven with real key events.
#include <gtest/gtest.h>

#include "e2e/wayland_session.h"
#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

TEST(WaylandE2E, FlightSettingsEscapeAndQuitOnAWaylandCompositor) {
  WaylandSession lumox(1280, 800);
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", [](const SwayWindow& w) { return w.found && w.focused; }));
  lumox.Keys("-k Return");

  // GO: full screen, focused and drawn, the start window gone.
  const QRect screen(0, 0, 1280, 800);
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return w.full_screen && w.focused && w.geometry == QRect(0, 0, 1280, 800);
  }));
  ASSERT_TRUE(lumox.WaitForLit(screen, 500));
  EXPECT_FALSE(lumox.Window("Untitled").found);
  const QImage shot = lumox.Screenshot();
  ASSERT_EQ(shot.size(), QSize(1280, 800));
  EXPECT_LT(LitPixels(shot, 200), 1280 * 800 / 20);  // stars on black, no light window over them

  // Escape: a 600 by 400 window where the compositor puts it, the stars flying on in it.
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return !w.full_screen && w.focused && w.geometry.size() == QSize(600, 400);
  }));
  const QRect window = lumox.Window("Lumox").geometry;
  EXPECT_TRUE(lumox.WaitForLit(window.adjusted(0, 30, 0, 0), 50));  // below the menu bar

  // `s`: the settings window comes focused, above the flight.
  lumox.Keys("s");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return w.found && w.focused; }));
  const QRect settings = lumox.Window("Settings").geometry;
  EXPECT_TRUE(WaitFor([&] {
    return LitPixels(lumox.Screenshot().copy(settings), 200) > settings.width() * settings.height() / 2;
  }));

  // Escape there puts it away: sway has no minimise, so it is unmapped, the keys go back to the
  // flight, and the flight's window is left as it was. `s` brings it back, focused, every time.
  for (int attempt = 0; attempt < 3; ++attempt) {
    lumox.Keys("-k Escape");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return !w.found; })) << attempt;
    ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) { return w.focused; })) << attempt;
    EXPECT_EQ(lumox.Window("Lumox").geometry, window) << attempt;
    lumox.Keys("s");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return w.found && w.focused; })) << attempt;
  }
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) { return w.focused; }));

  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), "35\n0.0035\n170\n1.28\n19200\n");
}

}  // namespace
}  // namespace lumox::e2e
