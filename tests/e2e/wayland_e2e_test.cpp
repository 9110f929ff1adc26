// The real program as a native Wayland client on a private headless sway, driven with real key
// events: wtype for keys, grim for screenshots and swaymsg's tree for geometry and focus.
#include <gtest/gtest.h>

#include "e2e/sway_session.h"
#include "e2e/x_session.h"
#include "support/defaults_table.h"

namespace lumox::e2e {
namespace {

// sway's default only marks a window urgent when its program asks for the focus; told to honour
// the request for a window on a visible workspace, it acts as GNOME and Plasma do.
constexpr char kHonourActivation[] = "focus_on_window_activation smart";

bool FullScreenAndFocused(const SwayWindow& w) { return w.full_screen && w.focused; }
bool Gone(const SwayWindow& w) { return !w.found; }
bool FoundAndFocused(const SwayWindow& w) { return w.found && w.focused; }

TEST(WaylandE2E, FlightSettingsEscapeAndQuitOnAWaylandCompositor) {
  SwaySession lumox(1280, 800, kHonourActivation);
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", FoundAndFocused));
  EXPECT_EQ(lumox.Window("Untitled").app_id, "net.tallowby.Lumox");  // the desktop entry's name
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

  // `s` over the full-screen flight: the settings window comes focused and drawn above it; escape
  // there puts it away (sway has no minimise: it is unmapped) and the flight stays full screen
  // with the keys. `s` brings it back.
  for (int attempt = 0; attempt < 2; ++attempt) {
    lumox.Keys("s");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", FoundAndFocused)) << attempt;
    EXPECT_TRUE(lumox.Window("Lumox").full_screen) << attempt;
    const QRect over = lumox.Window("Settings").geometry;
    EXPECT_TRUE(WaitFor([&] { return LitPixels(lumox.Screenshot().copy(over), 200) > over.width() * over.height() / 2; }))
        << attempt;
    lumox.Keys("-k Escape");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", Gone)) << attempt;
    ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused)) << attempt;
  }

  // Escape: a 600 by 400 window where the compositor puts it, the stars flying on in it.
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return !w.full_screen && w.focused && w.geometry.size() == QSize(600, 400);
  }));
  const QRect window = lumox.Window("Lumox").geometry;
  EXPECT_TRUE(lumox.WaitForLit(window.adjusted(0, 30, 0, 0), 50));  // below the menu bar

  // `s` by the window: the same, and the flight's window is left as it was.
  for (int attempt = 0; attempt < 2; ++attempt) {
    lumox.Keys("s");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", FoundAndFocused)) << attempt;
    lumox.Keys("-k Escape");
    ASSERT_TRUE(lumox.WaitForWindow("Settings", Gone)) << attempt;
    ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) { return w.focused; })) << attempt;
    EXPECT_EQ(lumox.Window("Lumox").geometry, window) << attempt;
  }

  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), testing::DefaultsFor(1280)->file);
}

// With sway's own default the settings window opened over the full-screen flight is not given the
// focus, but the program has asked for it: sway marks the window urgent. Given the focus (the
// user's click), escape there still puts it away and leaves the flight full screen.
TEST(WaylandE2E, OnADefaultSwayTheSettingsWindowAsksForTheFocusAndEscapeStillPutsItAway) {
  SwaySession lumox(1280, 800);
  ASSERT_TRUE(lumox.WaitForWindow("Untitled", FoundAndFocused));
  lumox.Keys("-k Return");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused));
  lumox.Keys("s");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", [](const SwayWindow& w) { return w.found && (w.urgent || w.focused); }));
  lumox.Shell("swaymsg \"[title=Settings] focus\" >/dev/null");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", FoundAndFocused));
  lumox.Keys("-k Escape");
  ASSERT_TRUE(lumox.WaitForWindow("Settings", Gone));
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused));
  ASSERT_TRUE(lumox.Quit());
}

// --screen names a Wayland output: the flight fills that one, with the defaults of its width.
TEST(WaylandE2E, ScreenPutsTheFullScreenFlightOnThatOutput) {
  SwaySession lumox(1280, 800, "output HEADLESS-2 resolution 1024x768 position 1280 0", {"--go", "--screen", "HEADLESS-2"}, 2);
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", [](const SwayWindow& w) {
    return w.full_screen && w.geometry == QRect(1280, 0, 1024, 768);
  }));
  // sway keeps the keyboard on the output that had it; the user's click hands it over.
  lumox.Shell("swaymsg \"[title=Lumox] focus\" >/dev/null");
  ASSERT_TRUE(lumox.WaitForWindow("Lumox", FullScreenAndFocused));
  ASSERT_TRUE(lumox.Quit());
  EXPECT_EQ(lumox.Prefs(), testing::DefaultsFor(1024)->file);
}

}  // namespace
}  // namespace lumox::e2e
