#include "flight/display_keys.h"

#include <gtest/gtest.h>

#include <limits>

#include "settings/prefs_keys.h"
#include "starfield/star_field.h"
#include "support/scripted_numbers.h"

namespace lumox {
namespace {

using testing::Bits;
using Kind = DisplayKeyEffect::Kind;
using Effects = std::vector<DisplayKeyEffect>;
using PrefsKind = PrefsKeyEffect::Kind;
using PrefsEffects = std::vector<PrefsKeyEffect>;

KeySet Keys(std::initializer_list<int> codes) { KeySet k; for (int c : codes) k.set(c); return k; }

constexpr uint32_t kFloorBits = 0x3951B717;    // single nearest 0.0002
constexpr uint32_t kCeilingBits = 0x3DCCCCCD;  // single nearest 0.1

TEST(DisplayKeys, RotationClampsOnlyOnTheSideItMovesToAndSaturates) {
  EXPECT_EQ(DisplayKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 0, false).Rotn, -1980);
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  // {from, after left, after right}: a value beyond the limits is pulled in only by the key
  // pushing it outward. INT64_MAX - 20 rounds to 2^63 in double, which saturates back.
  const int64_t rows[][3] = {{-2000, -2000, -1980}, {-1990, -2000, -1970}, {2000, 1980, 2000},
                             {3000, 2980, 2000},    {-3000, -2000, -2980}, {kMax, kMax, 2000},
                             {kMin, -2000, kMin}};
  for (const auto& row : rows) {
    EXPECT_EQ(RotnLeft(row[0]), row[1]) << row[0];
    EXPECT_EQ(RotnRight(row[0]), row[2]) << row[0];
  }
}

TEST(DisplayKeys, SpeedStepsFromWhereItStandsAndStopsAtTheLimits) {
  const float floor = SpeedDown(SpeedDown(kDefaultSpeed));
  EXPECT_EQ(std::pair(Bits(floor), Bits(SpeedDown(floor))), std::pair(kFloorBits, kFloorBits));
  EXPECT_EQ(Bits(SpeedUp(floor)), 0x3B30F27Cu);  // ~0.0027, not back to ~0.001
  float s = kDefaultSpeed;
  for (int i = 0; i < 38; ++i) s = SpeedUp(s);
  EXPECT_EQ(Bits(s), 0x3DC9BA5Bu);  // ~0.0985, one press short
  EXPECT_EQ(std::pair(Bits(SpeedUp(s)), Bits(SpeedUp(SpeedUp(s)))), std::pair(kCeilingBits, kCeilingBits));

  // Down and up together, 50000 stars: ~0.0975 gives 19 (19.5 before truncation), 0.1 gives 20.
  const DisplayKeyResult r = DisplayKeyDown(Keys({kKeyDown, kKeyUp}), 0, testing::FromBits(kCeilingBits), 50000, false);
  EXPECT_EQ(Bits(r.Speed), kCeilingBits);
  EXPECT_EQ(r.effects, (Effects{{Kind::SetTimer2Period, 19}, {Kind::SetTimer2Period, 20}}));
}

TEST(DisplayKeys, KeysActInTableOrderAndEscapeLeavesFullScreenOnce) {
  DisplayKeyResult r = DisplayKeyDown(Keys({0, 2, 36, 127}), 35, kDefaultSpeed, 21600, false);
  EXPECT_TRUE(r.Rotn == 35 && r.effects.empty());
  // The arrows for rotation add no effect of their own.
  r = DisplayKeyDown(Keys({kKeyS, kKeyUp, kKeyDown, kKeyRight, kKeyLeft, kKeyEscape}), 35, kDefaultSpeed, 21600, false);
  EXPECT_TRUE(r.Rotn == 35 && r.escaped);
  EXPECT_EQ(r.effects, (Effects{{Kind::LeaveFullScreen}, {Kind::SetTimer2Period, 0},
                                {Kind::SetTimer2Period, 0}, {Kind::ShowPrefs}}));
  r = DisplayKeyDown(Keys({kKeyEscape}), r.Rotn, r.Speed, 21600, r.escaped);
  EXPECT_TRUE(r.escaped);
  EXPECT_EQ(r.effects, (Effects{{Kind::Restore}}));
}

// The settings window's arrows step as the display's do, and its sliders follow.
TEST(PrefsKeys, OnlyEscapeAndArrowsActAndEachSliderFollowsItsStep) {
  EXPECT_TRUE(PrefsKeyDown(Keys({kKeyS, 36}), 35, kDefaultSpeed, 21600).effects.empty());  // `s`, return
  const PrefsKeyResult r = PrefsKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 21600);
  EXPECT_EQ(r.Rotn, -1980);
  EXPECT_EQ(r.effects, (PrefsEffects{{PrefsKind::SetSlider4, -2000}, {PrefsKind::SetSlider4, -1980}}));

  // From the default down twice (10, then 1 below the slider's minimum), then up four times.
  const int64_t expected[] = {10, 1, 27, 52, 76, 102};
  float speed = kDefaultSpeed;
  for (int i = 0; i < 6; ++i) {
    const PrefsKeyResult step = PrefsKeyDown(Keys({i < 2 ? kKeyDown : kKeyUp}), 35, speed, 21600);
    EXPECT_EQ(step.effects, (PrefsEffects{{PrefsKind::SetTimer2Period, 0}, {PrefsKind::SetSlider1, expected[i]}})) << i;
    speed = step.Speed;
  }
  EXPECT_EQ(Bits(speed), 0x3C271DE7u);  // ~0.0102
}

TEST(PrefsKeys, EscapeComesFirstAndTheArrowsStillAct) {
  // From the single nearest 0.1 down to ~0.0975: with 50000 stars the period is 19 (19.5) and the
  // slider 975; the old speed would give 20 and 1000.
  const PrefsKeyResult r = PrefsKeyDown(Keys({kKeyDown, kKeyEscape, kKeyRight}), 35, testing::FromBits(kCeilingBits), 50000);
  EXPECT_EQ(r.Rotn, 55);
  EXPECT_EQ(r.effects, (PrefsEffects{{PrefsKind::MinimizeAndResize}, {PrefsKind::SetSlider4, 55},
                                     {PrefsKind::SetTimer2Period, 19}, {PrefsKind::SetSlider1, 975}}));
}

}  // namespace
}  // namespace lumox
