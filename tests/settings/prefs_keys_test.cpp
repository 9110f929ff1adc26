#include "settings/prefs_keys.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <initializer_list>

#include "starfield/star_field.h"

namespace lumox {
namespace {

using Kind = PrefsKeyEffect::Kind;
using Effects = std::vector<PrefsKeyEffect>;

KeySet Keys(std::initializer_list<int> codes) {
  KeySet k;
  for (int c : codes) k.set(c);
  return k;
}

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

TEST(PrefsKeysTest, NoKeyAndSGiveNoEffects) {
  for (const KeySet& keys : {KeySet{}, Keys({kKeyS}), Keys({36})}) {
    const PrefsKeyResult r = PrefsKeyDown(keys, 35, kDefaultSpeed, 21600);
    EXPECT_EQ(r.Rotn, 35);
    EXPECT_EQ(Bits(r.Speed), Bits(kDefaultSpeed));
    EXPECT_TRUE(r.effects.empty());
  }
}

TEST(PrefsKeysTest, RotationSetsSlider4AfterEachStep) {
  PrefsKeyResult r = PrefsKeyDown(Keys({kKeyLeft}), 35, kDefaultSpeed, 21600);
  EXPECT_EQ(r.Rotn, 15);
  EXPECT_EQ(r.effects, (Effects{{Kind::SetSlider4, 15}}));
  r = PrefsKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 21600);
  EXPECT_EQ(r.Rotn, -1980);
  EXPECT_EQ(r.effects, (Effects{{Kind::SetSlider4, -2000}, {Kind::SetSlider4, -1980}}));
}

TEST(PrefsKeysTest, SpeedKeysSetPeriodThenSlider1) {
  // From the default down twice (10, then 1 below the slider's minimum), then up four times.
  const int64_t expected[] = {10, 1, 27, 52, 76, 102};
  float speed = kDefaultSpeed;
  for (int i = 0; i < 6; ++i) {
    const PrefsKeyResult r = PrefsKeyDown(Keys({i < 2 ? kKeyDown : kKeyUp}), 35, speed, 21600);
    EXPECT_EQ(r.effects, (Effects{{Kind::SetTimer2Period, 0}, {Kind::SetSlider1, expected[i]}})) << i;
    speed = r.Speed;
  }
  EXPECT_EQ(Bits(speed), 0x3C271DE7u);  // ~0.0102

  const float ceiling = std::bit_cast<float>(0x3DCCCCCDu);  // single nearest 0.1
  const PrefsKeyResult r = PrefsKeyDown(Keys({kKeyUp}), 35, ceiling, 50000);
  EXPECT_EQ(Bits(r.Speed), 0x3DCCCCCDu);
  EXPECT_EQ(r.effects, (Effects{{Kind::SetTimer2Period, 20}, {Kind::SetSlider1, 1000}}));
}

TEST(PrefsKeysTest, EscapeRepeatsEveryTimeAndArrowsStillAct) {
  PrefsKeyResult r = PrefsKeyDown(Keys({kKeyEscape}), 35, kDefaultSpeed, 21600);
  EXPECT_EQ(r.effects, (Effects{{Kind::MinimizeAndResize}}));
  r = PrefsKeyDown(Keys({kKeyEscape}), r.Rotn, r.Speed, 21600);
  EXPECT_EQ(r.effects, (Effects{{Kind::MinimizeAndResize}}));
  r = PrefsKeyDown(Keys({kKeyDown, kKeyEscape, kKeyRight}), 35, kDefaultSpeed, 21600);
  EXPECT_EQ(r.Rotn, 55);
  EXPECT_EQ(r.effects, (Effects{{Kind::MinimizeAndResize},
                                {Kind::SetSlider4, 55},
                                {Kind::SetTimer2Period, 0},
                                {Kind::SetSlider1, 10}}));
}

}  // namespace
}  // namespace lumox
