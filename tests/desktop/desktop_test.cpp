// The desktop modes' core (outputs, wake, flights, holds, the grab), the display each use takes, buffer scales.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "desktop/desktop_core.h"
#include "desktop/display_choice.h"
#include "desktop/wayland/surface_scale.h"

namespace lumox {
namespace {

using C = OutputChange;

TEST(OutputPlan, OutputsComeAndGoAndOnlyTheirOwnFlightsChangeOrTheWantedOnesAlone) {
  OutputPlan plan;
  for (uint32_t output : {7u, 3u}) plan.Added(output);
  EXPECT_FALSE(plan.Flying(7));  // nothing before the description is complete
  EXPECT_EQ(plan.Described(7, "DP-1"), (std::vector<C>{{C::kFly, 7}}));
  EXPECT_EQ(plan.Described(3, "HDMI-A-1"), (std::vector<C>{{C::kFly, 3}}));
  EXPECT_EQ(plan.Described(7, "DP-1"), std::vector<C>{});  // described again: no second flight
  EXPECT_EQ(plan.Names(), (std::vector<std::string>{"DP-1", "HDMI-A-1"}));  // in the order they came

  EXPECT_EQ(plan.Removed(7), (std::vector<C>{{C::kLand, 7}}));
  EXPECT_TRUE(plan.Flying(3));
  EXPECT_EQ(plan.Removed(7), std::vector<C>{});  // gone already
  EXPECT_EQ(plan.Described(7, "DP-1"), std::vector<C>{});  // a late event of a removed output
  EXPECT_EQ(plan.Removed(3), (std::vector<C>{{C::kLand, 3}}));
  EXPECT_TRUE(plan.Names().empty() && !plan.WantedPresent());  // none left: the host waits for one
  plan.Added(9);
  EXPECT_EQ(plan.Described(9, "DP-3"), (std::vector<C>{{C::kFly, 9}}));

  // One wanted output alone flies, and a rename follows it.
  plan = OutputPlan("DP-2");
  for (uint32_t output : {1u, 2u}) plan.Added(output);
  EXPECT_EQ(plan.Described(1, "DP-1"), std::vector<C>{});
  EXPECT_FALSE(plan.WantedPresent());
  EXPECT_EQ(plan.Described(2, "DP-2"), (std::vector<C>{{C::kFly, 2}}));
  EXPECT_TRUE(plan.WantedPresent());
  EXPECT_EQ(plan.Described(2, "DP-9"), (std::vector<C>{{C::kLand, 2}}));
  EXPECT_EQ(plan.Described(1, "DP-2"), (std::vector<C>{{C::kFly, 1}}));
  EXPECT_EQ(NoSuchOutput("X", plan.Names()), "No output 'X'; the outputs are DP-2, DP-9.");
  EXPECT_EQ(plan.Removed(2), std::vector<C>{});  // it had no flight to land
  EXPECT_EQ(NoSuchOutput("X", {}), "No output 'X'; the outputs are none.");
}

TEST(WakeWatch, ThePointerWakesOnceItLeavesASmallCircleOrItsOutput) {
  WakeWatch watch;
  EXPECT_FALSE(watch.Pointer(1, 100.0, 100.0));  // where it is first seen
  EXPECT_FALSE(watch.Pointer(1, 100.0 + WakeWatch::kDistance, 100.0));
  EXPECT_FALSE(watch.Pointer(1, 105.0, 106.0));  // 7.8 away
  EXPECT_TRUE(watch.Pointer(1, 106.0, 106.0));   // 8.5 away
  EXPECT_TRUE(watch.Pointer(2, 100.0, 100.0));   // the same place on another output
}

// An output of 100 by 80 at (50, 20), under windows given as {x, y, width, height}.
TEST(Stacking, AWallpaperIsCoveredByWindowsAboveLeavingNoPixelAndASaverOverlappedByOneOfAnyPixel) {
  const ViewRect out{50, 20, 100, 80};
  EXPECT_TRUE(CoveredBy(out, {out, {200, 0, 10, 10}}));  // and one on the next output
  EXPECT_TRUE(CoveredBy(out, {{0, 0, 1000, 1000}, {60, 30, 5, 5}}));
  EXPECT_TRUE(CoveredBy(out, {{50, 20, 60, 80}, {110, 20, 40, 80}}));   // two halves, side by side
  EXPECT_TRUE(CoveredBy(out, {{40, 10, 70, 60}, {100, 10, 60, 60}, {40, 60, 120, 50}}));  // overlapping
  EXPECT_FALSE(CoveredBy(out, {{50, 20, 60, 80}, {111, 20, 39, 80}}));  // a column between them
  EXPECT_FALSE(CoveredBy(out, {{50, 20, 100, 79}}));                   // short of the last row
  EXPECT_FALSE(CoveredBy(out, {{50, 20, 60, 80}, {50, 20, 100, 40}}));  // the bottom right corner shows
  EXPECT_FALSE(CoveredBy(out, {{150, 20, 100, 80}}));                  // the next output's
  EXPECT_FALSE(CoveredBy(out, {}));
  EXPECT_FALSE(CoveredBy({50, 20, 0, 80}, {out}));
  // In a stack, lowest first, only the windows above count.
  const std::vector<StackedWindow> stack{{7, {0, 0, 50, 50}}, {1, out}, {2, {50, 20, 60, 80}}, {3, {110, 20, 40, 80}}};
  EXPECT_TRUE(Hidden(stack, 1));
  EXPECT_FALSE(Hidden(stack, 2));
  EXPECT_FALSE(Hidden({{2, {50, 20, 60, 80}}, {3, {110, 20, 40, 80}}, {1, out}}, 1));
  EXPECT_FALSE(Hidden(stack, 9));
  // Any part of a window above shows over the saver, unless it is the saver's own on a mirrored output.
  EXPECT_TRUE(Overlapped(stack, 1, {}));
  EXPECT_FALSE(Overlapped(stack, 1, {2, 3}));
  EXPECT_FALSE(Overlapped(stack, 3, {}));
  EXPECT_FALSE(Overlapped({{1, out}, {4, {150, 20, 10, 80}}, {5, {50, 100, 100, 10}}}, 1, {}));  // edge to edge
  EXPECT_TRUE(Overlapped({{1, out}, {4, {149, 99, 10, 10}}}, 1, {}));                           // its last pixel
  EXPECT_FALSE(Overlapped(stack, 9, {}));
}

using E = DesktopEffect;
const DesktopEffects kNone;

// A core whose outputs 1 and 2 are described before the start, as a backend's first roundtrip does.
DesktopCore Begun(DesktopRole role, std::string wanted = {}) {
  DesktopCore core(role, std::move(wanted));
  for (uint32_t output : {1u, 2u}) {
    EXPECT_EQ(core.Added(output), kNone);
    EXPECT_EQ(core.Described(output, "OUT-" + std::to_string(output)), kNone);  // nothing flies before the start
  }
  return core;
}

TEST(DesktopCore, TheFlightsStartTogetherAndFollowTheOutputs) {
  DesktopCore core = Begun(DesktopRole::kWallpaper);
  EXPECT_EQ(core.Started(0), (DesktopEffects{{E::kFly, 1}, {E::kFly, 2}}));  // and no grab: the saver's alone
  core.Added(3);
  EXPECT_EQ(core.Described(3, "OUT-3"), (DesktopEffects{{E::kFly, 3}}));
  EXPECT_EQ(core.Removed(1), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ(core.Reshaped(2), (DesktopEffects{{E::kLand, 2}, {E::kFly, 2}}));  // made anew at once
  EXPECT_EQ(core.Reshaped(1), kNone);
  // Input is the saver's business alone.
  for (InputKind kind : {InputKind::kKey, InputKind::kButton, InputKind::kWheel, InputKind::kTouch})
    EXPECT_EQ(core.Input({kind}), kNone);
  EXPECT_EQ(core.NextDue(), -1);

  EXPECT_EQ(Begun(DesktopRole::kWallpaper, "OUT-2").Started(0), (DesktopEffects{{E::kFly, 2}}));
  DesktopCore none = Begun(DesktopRole::kSaver, "DP-9");
  EXPECT_EQ(none.Started(0), (DesktopEffects{{E::kEnd, 0, 2, "No output 'DP-9'; the outputs are OUT-1, OUT-2."}}));
  EXPECT_EQ(none.Input({InputKind::kKey}), kNone);  // it ended once
}

TEST(DesktopCore, ASurfaceTheServerClosesIsMadeAnewAfterAPause) {
  DesktopCore core = Begun(DesktopRole::kWallpaper);
  core.Started(0);
  EXPECT_EQ(core.Closed(1, 500), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ(core.Closed(1, 600), kNone);  // closed again meanwhile: still one remake
  EXPECT_EQ(core.Covered(1, false), kNone);  // no flight to resume while it waits
  EXPECT_EQ(core.NextDue(), 500 + DesktopCore::kRemakePause);
  EXPECT_EQ(core.Tick(500 + DesktopCore::kRemakePause - 1), kNone);
  EXPECT_EQ(core.Tick(500 + DesktopCore::kRemakePause), (DesktopEffects{{E::kFly, 1}}));
  EXPECT_EQ(core.NextDue(), -1);
  // A server that keeps closing it gets one surface a second.
  EXPECT_EQ(core.Closed(1, 1500), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ((std::pair{core.Tick(2499), core.Tick(2500)}), std::pair(kNone, DesktopEffects{{E::kFly, 1}}));
  // An output that goes while its surface waits is not made anew.
  core.Closed(2, 3000);
  EXPECT_EQ((std::pair{core.Removed(2), core.Tick(5000)}), std::pair(kNone, kNone));
}

TEST(DesktopCore, HeldEveryOutputStandsStillAndLetGoOnlyTheUncoveredFly) {
  DesktopCore core = Begun(DesktopRole::kWallpaper);
  EXPECT_EQ(core.Held(true), kNone);  // nothing flies yet, but what takes off stands still
  EXPECT_TRUE(core.Still(1));
  EXPECT_EQ(core.Started(0), (DesktopEffects{{E::kFly, 1}, {E::kFly, 2}}));
  EXPECT_EQ(core.Held(false), (DesktopEffects{{E::kResume, 1}, {E::kResume, 2}}));
  EXPECT_FALSE(core.Still(1));

  EXPECT_EQ(core.Covered(7, true), kNone);  // no such output
  EXPECT_EQ(core.Covered(2, true), (DesktopEffects{{E::kPause, 2}}));
  EXPECT_EQ(core.Held(true), (DesktopEffects{{E::kPause, 1}}));  // 2 stands still already
  EXPECT_EQ(core.Held(true), kNone);                              // said twice
  EXPECT_EQ(core.Covered(1, true), kNone);                        // held already
  EXPECT_EQ(core.Covered(1, false), kNone);                       // uncovered, but still held
  EXPECT_TRUE(core.Still(1));
  EXPECT_EQ(core.Held(false), (DesktopEffects{{E::kResume, 1}}));  // 2 is still covered
  EXPECT_TRUE(core.Still(2) && !core.Still(1));
  EXPECT_EQ(core.Covered(2, false), (DesktopEffects{{E::kResume, 2}}));

  // A surface made anew while held takes off still; it has no flight to pause meanwhile.
  core.Held(true);
  EXPECT_EQ(core.Closed(1, 100), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ(core.Held(false), (DesktopEffects{{E::kResume, 2}}));
  core.Held(true);
  EXPECT_EQ(core.Tick(100 + DesktopCore::kRemakePause), (DesktopEffects{{E::kFly, 1}}));
  EXPECT_TRUE(core.Still(1));
}

TEST(DesktopCore, TheSaverEndsOnAnyPressAndOnAPointerThatMovesAway) {
  for (InputKind kind : {InputKind::kKey, InputKind::kButton, InputKind::kWheel, InputKind::kTouch}) {
    DesktopCore core = Begun(DesktopRole::kSaver);
    core.Started(0);
    EXPECT_EQ(core.Input({kind}), (DesktopEffects{{E::kEnd, 0, 0, ""}})) << int(kind);
    EXPECT_EQ(core.Input({kind}), kNone);  // once
    EXPECT_TRUE(core.Ended());
  }
  DesktopCore core = Begun(DesktopRole::kSaver);
  core.Started(0);
  EXPECT_EQ(core.Input({InputKind::kMotion, 1, 10.0, 10.0}), kNone);  // where it was at the start
  EXPECT_EQ(core.Input({InputKind::kMotion, 1, 15.0, 16.0}), kNone);
  EXPECT_EQ(core.Input({InputKind::kMotion, 1, 16.0, 16.0}), (DesktopEffects{{E::kEnd, 0, 0, ""}}));
  EXPECT_EQ(Begun(DesktopRole::kWallpaper).Signal(), (DesktopEffects{{E::kEnd, 0, 0, ""}}));
  EXPECT_EQ(Begun(DesktopRole::kWallpaper).Lost("the Wayland compositor"),
            (DesktopEffects{{E::kEnd, 0, 1, "The Wayland compositor has gone away."}}));
  EXPECT_EQ(Begun(DesktopRole::kWallpaper).Failed("it broke"), (DesktopEffects{{E::kEnd, 0, 1, "it broke"}}));
}

TEST(DesktopCore, TheSaversGrabIsAskedForUntilItHoldsAndTakenAgainWhereverItsSurfaceGoes) {
  DesktopCore core = Begun(DesktopRole::kSaver);
  EXPECT_EQ(core.Started(1000), (DesktopEffects{{E::kFly, 1}, {E::kFly, 2}, {E::kGrab, 1}}));
  EXPECT_EQ(core.Grabbed(false, 1000), kNone);
  EXPECT_EQ(core.NextDue(), 1000 + DesktopCore::kGrabRetry);
  EXPECT_EQ(core.Tick(1000 + DesktopCore::kGrabRetry), (DesktopEffects{{E::kGrab, 1}}));
  EXPECT_EQ(core.Grabbed(true, 1060), kNone);
  EXPECT_EQ(core.NextDue(), -1);
  // Its surface made anew takes the grab again; the output gone, the next one takes it.
  EXPECT_EQ(core.Reshaped(1), (DesktopEffects{{E::kLand, 1}, {E::kFly, 1}, {E::kGrab, 1}}));
  core.Grabbed(true, 1100);
  EXPECT_EQ(core.Closed(1, 1200), (DesktopEffects{{E::kLand, 1}, {E::kGrab, 2}}));
  core.Grabbed(true, 1200);
  EXPECT_EQ(core.Tick(2200), (DesktopEffects{{E::kFly, 1}}));  // back, but 2 holds the grab
  EXPECT_EQ(core.Removed(2), (DesktopEffects{{E::kLand, 2}, {E::kGrab, 1}}));

  // Another program holds them: the saver gives up after a while, in one line.
  DesktopCore held = Begun(DesktopRole::kSaver);
  held.Started(0);
  int64_t now = 0;
  DesktopEffects told;
  for (int asked = 0; asked < 1000 && (told = held.Grabbed(false, now)).empty(); ++asked) {
    now = held.NextDue();
    ASSERT_EQ(held.Tick(now), (DesktopEffects{{E::kGrab, 1}})) << now;
  }
  EXPECT_EQ(now, DesktopCore::kGrabPatience);  // asked every kGrabRetry until then
  EXPECT_EQ(told, (DesktopEffects{{E::kEnd, 0, 1, desktop_line::GrabTaken()}}));
}

TEST(DisplayChoice, TheDesktopModesTakeWhatAnswersWhateverQtWasToldAndTheWindowsFollowQt) {
  const auto facts = [](std::string platform, std::string wayland, std::string x, bool wayland_lives, bool x_lives) {
    return DisplayFacts{platform, wayland, "", x, "", [=](const std::string&) { return wayland_lives; },
                        [=](const std::string&) { return x_lives; }};
  };
  using C = DisplayChoice;
  using U = DisplayUse;
  const struct {
    U use;
    DisplayFacts facts;
    C::Host host;
    std::string platform, error;
  } cases[] = {
      {U::kDesktop, facts("xcb", "wayland-1", ":0", true, true), C::kWayland, "offscreen", ""},
      {U::kDesktop, facts("", "wayland-1", ":0", false, true), C::kX11, "xcb", ""},
      {U::kDesktop, facts("wayland", "", ":0", false, true), C::kX11, "xcb", ""},
      {U::kDesktop, facts("", "w", ":3", false, false), C::kQt, "", "Neither the Wayland display 'w' nor the X display ':3' can be reached."},
      {U::kDesktop, facts("", "w", "", false, false), C::kQt, "", "The Wayland display 'w' can't be reached."},
      {U::kDesktop, facts("", "", "", true, true), C::kQt, "", desktop_line::NoDisplay()},
      {U::kWindows, facts("", "wayland-1", ":0", true, true), C::kQt, "", ""},
      {U::kWindows, facts("", "wayland-1", ":0", false, true), C::kQt, "xcb", ""},
      {U::kWindows, facts("xcb", "wayland-1", ":0", true, false), C::kQt, "", "The X display ':0' can't be reached."},
      {U::kWindows, facts("offscreen", "", "", false, false), C::kQt, "", ""},
      {U::kX11Window, facts("", "wayland-1", ":0", true, true), C::kQt, "xcb", ""},
  };
  for (int i = 0; const auto& c : cases) {
    const DisplayChoice choice = ChooseDisplay(c.use, c.facts);
    EXPECT_EQ(std::tuple(choice.host, choice.qt_platform, choice.error), std::tuple(c.host, c.platform, c.error)) << i++;
  }
  DisplayFacts handed = facts("", "", "", false, false);
  handed.wayland_socket = "5";
  EXPECT_EQ(ChooseDisplay(DisplayUse::kDesktop, handed).host, C::kWayland);
}

TEST(SurfaceScale, TheBufferIsTheSurfaceAtTheScaleRoundedHalfAwayFromZero) {
  // 50 at 1.15 is 57.5, where the product in doubles comes out just under the half.
  for (const auto& [length, scale, buffer] : {std::tuple{1280, 180, 1920}, {720, 180, 1080}, {1536, 150, 1920},
           {1279, 180, 1919}, {1, 179, 1}, {50, 138, 58}, {49, 138, 56}, {800, WholeScale(2), 1600}, {1024, kScaleOne, 1024}})
    EXPECT_EQ(BufferLength(length, scale), buffer) << length << " at " << scale;
  EXPECT_EQ(std::tuple(ScaleRatio(180), ScaleRatio(150), ScaleRatio(WholeScale(3))), std::tuple(1.5, 1.25, 3.0));
  EXPECT_EQ(WholeScale(0), kScaleOne);  // a compositor's 0 draws as scale 1
}

}  // namespace
}  // namespace lumox
