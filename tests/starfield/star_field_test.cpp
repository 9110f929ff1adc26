#include "starfield/star_field.h"

#include <gtest/gtest.h>

#include "support/scripted_numbers.h"

namespace lumox {
namespace {

using testing::Bits;
using testing::FromBits;
using testing::ScriptedNumbers;

StarData Zero() { return StarData{}; }

bool IsZero(const StarData& s) {
  return s.x == 0 && s.y == 0 && s.z == 0 && s.size == 0 && s.colour == 0 && s.red == 0 && s.green == 0 &&
         s.blue == 0 && s.brightness == 0 && s.dx == 0 && s.dy == 0 && s.cbrightness == 0 && s.cred == 0 &&
         s.cgreen == 0 && s.cblue == 0;
}

TEST(StarField, RecordKeepsItsDeclaredLayoutAndStartsAtZero) {
  EXPECT_EQ(offsetof(StarData, x), 0u);
  EXPECT_EQ(offsetof(StarData, z), 8u);
  EXPECT_EQ(offsetof(StarData, size), 16u);
  EXPECT_EQ(offsetof(StarData, colour), 24u);
  EXPECT_EQ(offsetof(StarData, red), 28u);
  EXPECT_EQ(offsetof(StarData, brightness), 40u);
  EXPECT_EQ(offsetof(StarData, cblue), 64u);
  EXPECT_EQ(sizeof(StarData::colour), 4u);
  EXPECT_TRUE(IsZero(Zero()));
  StarField field;
  EXPECT_EQ(field.Star.size(), 50001u);
}

TEST(StarField, WidthDefaults) {
  struct Row { int64_t width; uint32_t size_bits; int64_t star_max; };
  // Bits of the singles nearest 1.024, 1.28, 1.44, 1.92, 2.56 and 3.334.
  const Row rows[] = {{1024, 0x3F83126F, 15360}, {1280, 0x3FA3D70A, 19200}, {1440, 0x3FB851EC, 21600},
                      {1920, 0x3FF5C28F, 28800}, {2560, 0x4023D70A, 38400}, {3334, 0x40556042, 50010}};
  for (const Row& row : rows) {
    EXPECT_EQ(Bits(DefaultStarSize(row.width)), row.size_bits) << row.width;
    EXPECT_EQ(DefaultStarMax(row.width), row.star_max) << row.width;
  }
  for (int64_t w = 1; w <= 8000; ++w) ASSERT_EQ(DefaultStarMax(w), 15 * w);
  EXPECT_EQ(Bits(kDefaultSpeed), 0x3B656042u);
  EXPECT_EQ(HoldStarMax(50010), 50000);
  EXPECT_EQ(HoldStarMax(50000), 50000);
  EXPECT_EQ(HoldStarMax(0), 0);

  const Settings d = DefaultSettings(1440);
  EXPECT_EQ(d.Rotn, 35);
  EXPECT_EQ(d.ColourSpread, 170);
  EXPECT_EQ(Bits(d.StarSize), 0x3FB851ECu);
  EXPECT_EQ(d.StarMax, 21600);
}

TEST(StarField, Timer2PeriodTruncatesTheExactValue) {
  EXPECT_EQ(Timer2Period(15000, kDefaultSpeed), 0);
  EXPECT_EQ(Timer2Period(21600, kDefaultSpeed), 0);
  EXPECT_EQ(Timer2Period(50000, kDefaultSpeed), 0);
  EXPECT_EQ(Timer2Period(21600, 0.0125f), 1);
  EXPECT_EQ(Timer2Period(21600, 0.05f), 4);
  EXPECT_EQ(Timer2Period(21600, 0.1f), 8);
  EXPECT_EQ(Timer2Period(50000, 0.1f), 20);
  EXPECT_EQ(Timer2Period(19999, 0.1f), 7);  // 7.9996, not rounded up
  EXPECT_EQ(Timer2Period(21600, 0.0f), 0);
  EXPECT_EQ(Timer2Period(21600, -0.1f), -8);
  EXPECT_EQ(Timer2Period(std::numeric_limits<int64_t>::max(), 3e38f), std::numeric_limits<int64_t>::max());
}

TEST(StarField, GenerationFollowsTheFormulasBitForBit) {
  StarField field;
  field.StarMax = 3;
  field.ColourSpread = 170;
  field.Star[4].x = 9.0f;  // beyond StarMax: generation makes the record anew and leaves it at zero
  // Star 1: at the far plane. Star 2: beyond it, so its factors are negative; green is held by
  // its own cap. Star 3: red and blue both under green's cap, so green takes the larger, blue.
  ScriptedNumbers n({0.5, 0.25, 0.3, 0.5, 0.5, 0.2, 0.9,  //
                     0.1, 0.9, 0.75, 1.0, 0.9, 0.8, 0.0,  //
                     0.0, 0.0, 0.1, 0.0, 0.0, 0.5, 1.0});
  GenerateStars(field, n);
  EXPECT_EQ(n.Used(), 21u);

  const StarData& a = field.Star[1];
  EXPECT_EQ(Bits(a.x), 0x00000000u);
  EXPECT_EQ(Bits(a.y), 0xBFA00000u);  // -1.25
  EXPECT_EQ(Bits(a.z), 0xC0400000u);  // -3.0
  EXPECT_EQ(Bits(a.brightness), 0x3F333333u);
  EXPECT_EQ(Bits(a.cbrightness), 0x00000000u);
  EXPECT_EQ(Bits(a.red), 0x3F1C5C5Cu);
  EXPECT_EQ(Bits(a.blue), 0x3F06396Cu);
  EXPECT_EQ(Bits(a.green), 0x3F1C5C5Cu);  // the larger of red and blue, under green's own cap
  EXPECT_EQ(a.cred, 0.0f);

  const StarData& b = field.Star[2];
  EXPECT_EQ(Bits(b.x), 0xC0000000u);
  EXPECT_EQ(Bits(b.y), 0x40000000u);
  EXPECT_EQ(Bits(b.z), 0xC0F00000u);            // -7.5: beyond the far plane
  EXPECT_EQ(Bits(b.cbrightness), 0xBFE66667u);  // negative, and so are the drawn colours
  EXPECT_EQ(Bits(b.red), 0x3F9F5286u);
  EXPECT_EQ(Bits(b.blue), 0x3F98FF66u);
  EXPECT_EQ(Bits(b.green), 0x3F848485u);  // green's cap, below both
  EXPECT_LT(b.cred, 0.0f);
  EXPECT_EQ(Bits(b.cred), Bits(b.cbrightness * b.red));

  const StarData& c = field.Star[3];
  EXPECT_EQ(Bits(c.x), 0xC0200000u);
  EXPECT_EQ(Bits(c.z), 0xBF800000u);
  EXPECT_EQ(Bits(c.brightness), 0x3E4CCCCDu);
  EXPECT_EQ(Bits(c.red), 0x3E088889u);
  EXPECT_EQ(Bits(c.blue), 0x3E32B2B3u);
  EXPECT_EQ(Bits(c.green), 0x3E32B2B3u);
  EXPECT_EQ(Bits(c.cbrightness), 0x3E088889u);
  EXPECT_EQ(Bits(c.cgreen), 0x3CBE9C7Bu);

  EXPECT_TRUE(IsZero(field.Star[4]));
  EXPECT_TRUE(IsZero(field.Star[0]));
}

TEST(StarField, BrightestRedIsStoredUnclamped) {
  StarField field;
  field.StarMax = 1;
  field.ColourSpread = 255;
  ScriptedNumbers n({0.5, 0.5, 0.5, 1.0, 1.0, 0.0, 0.0});
  GenerateStars(field, n);
  EXPECT_EQ(Bits(field.Star[1].red), 0x3FD8D8D9u);  // about 1.69
}

TEST(StarField, GenerationCountBoundaries) {
  for (int64_t star_max : {int64_t{0}, int64_t{1}, int64_t{50000}}) {
    StarField field;
    field.StarMax = star_max;
    Random random;
    GenerateStars(field, random);
    EXPECT_TRUE(IsZero(field.Star[0]));
    for (int64_t i = 1; i <= 50000; ++i) {
      if (i <= star_max) {
        ASSERT_GE(field.Star[i].brightness, 0.2f) << i;
        ASSERT_LE(field.Star[i].z, 0.0f);
      } else {
        ASSERT_TRUE(IsZero(field.Star[i])) << i;
      }
    }
  }
}

TEST(StarField, ShadingByDepth) {
  StarField field;
  field.StarMax = 3;
  field.CameraZ = -10.0f;
  field.Star[1].z = -10.0f;  // depth 0
  field.Star[1].red = 0.9f;
  field.Star[1].green = 0.5f;
  field.Star[2].z = -13.0f;  // depth 3: the far plane
  field.Star[2].red = 0.9f;
  field.Star[3].z = -14.0f;  // beyond it
  field.Star[3].blue = 1.0f;
  field.Star[4].z = -10.0f;  // not live
  field.Star[4].red = 1.0f;
  ShadeStars(field);
  EXPECT_EQ(Bits(field.Star[1].cbrightness), 0x3FB33333u);  // 1.4
  EXPECT_EQ(Bits(field.Star[1].cred), 0x3FA147AEu);         // 1.26
  EXPECT_EQ(field.Star[1].cgreen, field.Star[1].cbrightness * 0.5f);
  EXPECT_EQ(Bits(field.Star[2].cbrightness), 0u);
  EXPECT_EQ(Bits(field.Star[2].cred), 0u);
  EXPECT_LT(field.Star[3].cblue, 0.0f);
  EXPECT_EQ(field.Star[4].cred, 0.0f);
}

TEST(StarField, RecyclingOnlyThePassedStars) {
  StarField field;
  field.StarMax = 3;
  field.ColourSpread = 170;
  field.CameraZ = -100.0f;
  field.Star[1].z = -99.0f;   // passed
  field.Star[2].z = -100.0f;  // exactly at the camera: not passed yet
  field.Star[2].red = 0.25f;
  field.Star[3].z = -101.0f;  // ahead
  field.Star[4].z = 0.0f;     // passed but not live
  ScriptedNumbers n({0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5});
  RecycleStars(field, n);
  EXPECT_EQ(n.Used(), 7u);
  const StarData& s = field.Star[1];
  EXPECT_EQ(s.z, -106.5f);  // depth 6.5
  EXPECT_EQ(s.x, 0.0f);
  EXPECT_EQ(Bits(s.brightness), 0x3F333333u);
  EXPECT_EQ(Bits(s.cbrightness), 0xC1C13333u);  // measured on the absolute z: well below zero
  EXPECT_EQ(Bits(s.red), 0x3F1C5C5Cu);
  EXPECT_EQ(Bits(s.cred), 0xC16C01CEu);
  EXPECT_EQ(field.Star[2].z, -100.0f);
  EXPECT_EQ(field.Star[2].red, 0.25f);
  EXPECT_EQ(field.Star[3].z, -101.0f);
  EXPECT_EQ(field.Star[4].z, 0.0f);
}

TEST(StarField, RaisedStarMaxBringsInBlackStarsThatTheNextSweepPlaces) {
  StarField field;
  field.StarMax = 100;
  Random random;
  GenerateStars(field, random);
  field.CameraZ = -0.5f;
  field.StarMax = 200;
  for (int64_t i = 101; i <= 200; ++i) ASSERT_TRUE(IsZero(field.Star[i]));
  ShadeStars(field);
  EXPECT_EQ(field.Star[150].cred, 0.0f);  // black: all its colours are zero
  Timer2_Action(field);
  for (int64_t i = 1; i <= 200; ++i) {
    ASSERT_LE(field.Star[i].z, field.CameraZ) << i;
    if (i > 100) {
      ASSERT_LE(field.Star[i].z, field.CameraZ - 3.0f) << i;
      ASSERT_GE(field.Star[i].z, field.CameraZ - 10.0f) << i;
      ASSERT_GT(field.Star[i].brightness, 0.0f) << i;
    }
  }
  EXPECT_TRUE(IsZero(field.Star[201]));
}

TEST(StarField, StarMaxZeroTouchesNothing) {
  StarField field;
  field.StarMax = 0;
  field.CameraZ = -5.0f;
  field.Star[1].z = 1.0f;
  ShadeStars(field);
  Timer2_Action(field);
  EXPECT_TRUE(field.Star[1].z == 1.0f && field.Star[1].cbrightness == 0.0f);
}

}  // namespace
}  // namespace lumox
