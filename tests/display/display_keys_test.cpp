#include "display/display_keys.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <limits>

#include "starfield/star_field.h"

namespace lumox {
namespace {

using Kind = DisplayKeyEffect::Kind;

KeySet Keys(std::initializer_list<int> codes) {
  KeySet k;
  for (int c : codes) k.set(c);
  return k;
}

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

constexpr uint32_t kFloorBits = 0x3951B717;    // single nearest 0.0002
constexpr uint32_t kCeilingBits = 0x3DCCCCCD;  // single nearest 0.1

TEST(DisplayKeysTest, NoKeyOrUnknownKeyChangesNothing) {
  for (const KeySet& keys : {KeySet{}, Keys({0, 2, 36, 127})}) {
    const DisplayKeyResult r = DisplayKeyDown(keys, 35, kDefaultSpeed, 21600, false);
    EXPECT_EQ(r.Rotn, 35);
    EXPECT_EQ(Bits(r.Speed), Bits(kDefaultSpeed));
    EXPECT_FALSE(r.escaped);
    EXPECT_TRUE(r.effects.empty());
  }
}

TEST(DisplayKeysTest, RotationClampsOnlyOnTheSideItMovesTo) {
  EXPECT_EQ(DisplayKeyDown(Keys({kKeyLeft, kKeyRight}), 2000, kDefaultSpeed, 0, false).Rotn, 2000);
  EXPECT_EQ(DisplayKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 0, false).Rotn, -1980);
  EXPECT_EQ(RotnLeft(-2000), -2000);
  EXPECT_EQ(RotnLeft(-1990), -2000);
  EXPECT_EQ(RotnRight(2000), 2000);
  EXPECT_EQ(RotnLeft(35), 15);
  // A value from the file beyond the limits is pulled in only by the key pushing it outward.
  EXPECT_EQ(RotnLeft(3000), 2980);
  EXPECT_EQ(RotnRight(3000), 2000);
  EXPECT_EQ(RotnRight(-3000), -2980);
  EXPECT_EQ(RotnLeft(-3000), -2000);
  // Rotation keys never touch the timer.
  EXPECT_TRUE(DisplayKeyDown(Keys({kKeyLeft}), 0, kDefaultSpeed, 50000, false).effects.empty());
}

TEST(DisplayKeysTest, RotationSaturatesAtInt64Ends) {
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(RotnLeft(kMin), -2000);
  EXPECT_EQ(RotnRight(kMax), 2000);
  // INT64_MAX - 20 rounds to 2^63 in double, which truncation saturates back to INT64_MAX.
  EXPECT_EQ(RotnLeft(kMax), kMax);
  EXPECT_EQ(RotnRight(kMin), kMin);
}

TEST(DisplayKeysTest, SpeedStepsFromWhereItStands) {
  const float d1 = SpeedDown(kDefaultSpeed);
  EXPECT_EQ(Bits(d1), 0x3A831270u);  // ~0.0010000002
  const float d2 = SpeedDown(d1);
  EXPECT_EQ(Bits(d2), kFloorBits);
  EXPECT_EQ(Bits(SpeedDown(d2)), kFloorBits);
  EXPECT_EQ(Bits(SpeedUp(d2)), 0x3B30F27Cu);  // ~0.0027000001

  float s = kDefaultSpeed;
  for (int i = 0; i < 38; ++i) s = SpeedUp(s);
  EXPECT_EQ(Bits(s), 0x3DC9BA5Bu);  // ~0.0985, one press short
  s = SpeedUp(s);
  EXPECT_EQ(Bits(s), kCeilingBits);
  EXPECT_EQ(Bits(SpeedUp(s)), kCeilingBits);
}

TEST(DisplayKeysTest, DownAndUpTogetherSetThePeriodAfterEachStep) {
  const float ceiling = std::bit_cast<float>(kCeilingBits);
  // 50000 stars: 0.0975 gives 19 (19.5 before truncation), 0.1 gives 20.
  DisplayKeyResult r = DisplayKeyDown(Keys({kKeyDown, kKeyUp}), 0, ceiling, 50000, false);
  EXPECT_EQ(Bits(r.Speed), kCeilingBits);
  EXPECT_EQ(r.effects, (std::vector<DisplayKeyEffect>{{Kind::SetTimer2Period, 19},
                                                       {Kind::SetTimer2Period, 20}}));
  // 21600 stars: ~0.001 and the default both give 0; down then up lands back on the default.
  r = DisplayKeyDown(Keys({kKeyDown, kKeyUp}), 0, kDefaultSpeed, 21600, false);
  EXPECT_EQ(Bits(r.Speed), 0x3B656042u);
  EXPECT_EQ(r.effects, (std::vector<DisplayKeyEffect>{{Kind::SetTimer2Period, 0},
                                                       {Kind::SetTimer2Period, 0}}));
  // 21600 stars at the ceiling: 8 (8.64 before truncation).
  r = DisplayKeyDown(Keys({kKeyUp}), 0, ceiling, 21600, false);
  EXPECT_EQ(r.effects, (std::vector<DisplayKeyEffect>{{Kind::SetTimer2Period, 8}}));
}

TEST(DisplayKeysTest, EscapeLeavesFullScreenOnceThenRestores) {
  DisplayKeyResult r = DisplayKeyDown(Keys({kKeyEscape}), 35, kDefaultSpeed, 21600, false);
  EXPECT_TRUE(r.escaped);
  EXPECT_EQ(r.effects, (std::vector<DisplayKeyEffect>{{Kind::LeaveFullScreen}}));
  r = DisplayKeyDown(Keys({kKeyEscape}), r.Rotn, r.Speed, 21600, r.escaped);
  EXPECT_TRUE(r.escaped);
  EXPECT_EQ(r.effects, (std::vector<DisplayKeyEffect>{{Kind::Restore}}));
}

TEST(DisplayKeysTest, AllKeysDownActInTableOrder) {
  const DisplayKeyResult r = DisplayKeyDown(
      Keys({kKeyS, kKeyUp, kKeyDown, kKeyRight, kKeyLeft, kKeyEscape}), 35, kDefaultSpeed, 21600, false);
  EXPECT_EQ(r.Rotn, 35);
  EXPECT_TRUE(r.escaped);
  EXPECT_EQ(r.effects, (std::vector<DisplayKeyEffect>{{Kind::LeaveFullScreen},
                                                       {Kind::SetTimer2Period, 0},
                                                       {Kind::SetTimer2Period, 0},
                                                       {Kind::ShowPrefs}}));
  const DisplayKeyResult e = DisplayKeyDown(Keys({kKeyEscape, kKeyLeft}), 35, kDefaultSpeed, 0, false);
  EXPECT_EQ(e.Rotn, 15);
  EXPECT_EQ(e.effects, (std::vector<DisplayKeyEffect>{{Kind::LeaveFullScreen}}));
}

}  // namespace
}  // namespace lumox
