#include "settings/prefs_keys.h"

#include <gtest/gtest.h>

#include "starfield/star_field.h"

namespace lumox {
namespace {

using Kind = PrefsKeyEffect::Kind;
using Effects = std::vector<PrefsKeyEffect>;

KeySet Keys(std::initializer_list<int> codes) { KeySet k; for (int c : codes) k.set(c); return k; }

TEST(PrefsKeys, OnlyEscapeAndArrowsActAndEachSliderFollowsItsStep) {
  // `s` (1) and return (36) are not asked here.
  EXPECT_TRUE(PrefsKeyDown(Keys({kKeyS, 36}), 35, kDefaultSpeed, 21600).effects.empty());

  const PrefsKeyResult r = PrefsKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 21600);
  EXPECT_EQ(r.Rotn, -1980);
  EXPECT_EQ(r.effects, (Effects{{Kind::SetSlider4, -2000}, {Kind::SetSlider4, -1980}}));

  // From the default down twice (10, then 1 below the slider's minimum), then up four times.
  const int64_t expected[] = {10, 1, 27, 52, 76, 102};
  float speed = kDefaultSpeed;
  for (int i = 0; i < 6; ++i) {
    const PrefsKeyResult step = PrefsKeyDown(Keys({i < 2 ? kKeyDown : kKeyUp}), 35, speed, 21600);
    EXPECT_EQ(step.effects, (Effects{{Kind::SetTimer2Period, 0}, {Kind::SetSlider1, expected[i]}})) << i;
    speed = step.Speed;
  }
  EXPECT_EQ(std::bit_cast<uint32_t>(speed), 0x3C271DE7u);  // ~0.0102
}

TEST(PrefsKeys, EscapeComesFirstAndTheArrowsStillAct) {
  // From the single nearest 0.1 down to ~0.0975: with 50000 stars the period is 19 (19.5) and the
  // slider 975; the old speed would give 20 and 1000.
  const float ceiling = std::bit_cast<float>(0x3DCCCCCDu);
  const PrefsKeyResult r = PrefsKeyDown(Keys({kKeyDown, kKeyEscape, kKeyRight}), 35, ceiling, 50000);
  EXPECT_EQ(r.Rotn, 55);
  EXPECT_EQ(r.effects, (Effects{{Kind::MinimizeAndResize}, {Kind::SetSlider4, 55},
                                {Kind::SetTimer2Period, 19}, {Kind::SetSlider1, 975}}));
}

}  // namespace
}  // namespace lumox
