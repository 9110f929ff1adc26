#include "starfield/star_field.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "support/scripted_numbers.h"

namespace lumox {
namespace {

using testing::Bits;
using testing::ScriptedNumbers;

bool IsZero(const StarData& s) {
  return s.x == 0 && s.y == 0 && s.z == 0 && s.size == 0 && s.colour == 0 && s.red == 0 && s.green == 0 &&
         s.blue == 0 && s.brightness == 0 && s.dx == 0 && s.dy == 0 && s.cbrightness == 0 && s.cred == 0 &&
         s.cgreen == 0 && s.cblue == 0;
}

TEST(StarField, DefaultsAndTimer2Period) {
  // Bits of the singles nearest 1.024, 1.44 and 3.334; 3334 is the first width past 50000 stars.
  const struct { int64_t width; uint32_t size_bits; int64_t star_max; } rows[] = {
      {1024, 0x3F83126F, 15360}, {1440, 0x3FB851EC, 21600}, {3334, 0x40556042, 50010}};
  for (const auto& row : rows) {
    const Settings d = DefaultSettings(row.width);
    EXPECT_EQ(Bits(d.StarSize), row.size_bits) << row.width;
    EXPECT_EQ(d.StarMax, row.star_max) << row.width;
    EXPECT_TRUE(d.Rotn == 35 && d.ColourSpread == 170 && Bits(d.Speed) == 0x3B656042u);
  }
  for (int64_t w = 1; w <= 8000; ++w) ASSERT_EQ(DefaultStarMax(w), 15 * w);
  EXPECT_TRUE(HoldStarMax(50010) == 50000 && HoldStarMax(50000) == 50000);

  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  // 19999 at 0.1 is 7.9996 exactly: truncated, not rounded.
  const struct { int64_t star_max; float speed; int64_t period; } periods[] = {
      {21600, kDefaultSpeed, 0}, {21600, 0.1f, 8}, {50000, 0.1f, 20}, {19999, 0.1f, 7}, {21600, -0.1f, -8},
      {kMax, 3e38f, kMax}};
  for (const auto& p : periods) EXPECT_EQ(Timer2Period(p.star_max, p.speed), p.period) << p.star_max;
}

TEST(StarField, GenerationFollowsTheFormulasBitForBit) {
  StarField field;
  field.StarMax = 3;
  field.Star[4].x = 9.0f;  // beyond StarMax: made anew and left at zero
  // Star 1: at the far plane. Star 2: beyond it, green held by its own cap.
  // Star 3: red and blue both under green's cap, so green takes the larger, blue.
  ScriptedNumbers n{{0.5, 0.25, 0.3, 0.5, 0.5, 0.2, 0.9,  //
                     0.1, 0.9, 0.75, 1.0, 0.9, 0.8, 0.0,  //
                     0.0, 0.0, 0.1, 0.0, 0.0, 0.5, 1.0}};
  GenerateStars(field, n);
  EXPECT_EQ(n.used, 21u);

  const StarData &a = field.Star[1], &b = field.Star[2], &c = field.Star[3];
  // a: y -1.25, z -3.0, brightness 0.7, green = red, the larger. b: x -2.0, z -7.5, so cbrightness
  // and cred (its single product with red) are negative; green's cap lies below red and blue.
  const std::pair<float, uint32_t> expected[] = {
      {a.y, 0xBFA00000},    {a.z, 0xC0400000},  {a.brightness, 0x3F333333}, {a.cbrightness, 0},
      {a.red, 0x3F1C5C5C},  {a.green, 0x3F1C5C5C}, {b.x, 0xC0000000},     {b.cbrightness, 0xBFE66667},
      {b.red, 0x3F9F5286},  {b.blue, 0x3F98FF66}, {b.green, 0x3F848485},   {b.cred, 0xC00F63DF},
      {c.red, 0x3E088889},  {c.blue, 0x3E32B2B3}, {c.green, 0x3E32B2B3},   {c.cbrightness, 0x3E088889},
      {c.cgreen, 0x3CBE9C7B}};
  for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(Bits(expected[i].first), expected[i].second) << i;
  EXPECT_TRUE(IsZero(field.Star[4]) && IsZero(field.Star[0]));

  field.StarMax = 1;
  field.ColourSpread = 255;
  ScriptedNumbers top{{0.5, 0.5, 0.5, 1.0, 1.0, 0.0, 0.0}};
  GenerateStars(field, top);
  EXPECT_EQ(Bits(field.Star[1].red), 0x3FD8D8D9u);  // about 1.69, not clamped
}

TEST(StarField, GenerationCountBoundaries) {
  for (int64_t star_max : {int64_t{0}, int64_t{1}, int64_t{50000}}) {
    StarField field;
    ASSERT_EQ(field.Star.size(), 50001u);
    field.StarMax = star_max;
    GenerateStars(field);
    EXPECT_TRUE(IsZero(field.Star[0]));
    for (int64_t i = 1; i <= 50000; ++i)
      ASSERT_TRUE(i <= star_max ? field.Star[i].brightness >= 0.2f : IsZero(field.Star[i])) << i;
  }
}

TEST(StarField, ShadingByDepth) {
  StarField field;
  field.StarMax = 3;
  field.CameraZ = -10.0f;
  field.Star[1] = {.z = -10.0f, .red = 0.9f, .green = 0.5f};  // depth 0
  field.Star[2] = {.z = -13.0f, .red = 0.9f};                 // depth 3: the far plane
  field.Star[3] = {.z = -14.0f, .blue = 1.0f};                // beyond it
  field.Star[4] = {.z = -10.0f, .red = 1.0f};                 // not live
  ShadeStars(field);
  EXPECT_EQ(Bits(field.Star[1].cbrightness), 0x3FB33333u);  // 1.4
  EXPECT_EQ(Bits(field.Star[1].cred), 0x3FA147AEu);         // 1.26
  EXPECT_EQ(Bits(field.Star[1].cgreen), 0x3F333333u);       // 0.7
  EXPECT_TRUE(Bits(field.Star[2].cbrightness) == 0 && Bits(field.Star[2].cred) == 0);
  EXPECT_LT(field.Star[3].cblue, 0.0f);
  EXPECT_EQ(field.Star[4].cred, 0.0f);
}

TEST(StarField, RecyclingOnlyThePassedStars) {
  StarField field;
  field.StarMax = 3;
  field.CameraZ = -100.0f;
  field.Star[1].z = -99.0f;                        // passed
  field.Star[2] = {.z = -100.0f, .red = 0.25f};  // exactly at the camera: not passed yet
  field.Star[3].z = -101.0f;                       // ahead
  field.Star[4].z = 0.0f;                          // passed but not live
  ScriptedNumbers n{std::vector<double>(7, 0.5)};
  RecycleStars(field, n);
  EXPECT_EQ(n.used, 7u);
  const StarData& s = field.Star[1];
  EXPECT_TRUE(s.z == -106.5f && s.x == 0.0f);
  // cbrightness is measured on the absolute z, so it lies well below zero.
  EXPECT_EQ(std::tuple(Bits(s.brightness), Bits(s.cbrightness), Bits(s.red), Bits(s.cred)),
            std::tuple(0x3F333333u, 0xC1C13333u, 0x3F1C5C5Cu, 0xC16C01CEu));
  EXPECT_TRUE(field.Star[2].z == -100.0f && field.Star[2].red == 0.25f);
  EXPECT_TRUE(field.Star[3].z == -101.0f && field.Star[4].z == 0.0f);

  field.StarMax = 0;  // touches nothing, though star 1 is now far behind
  field.CameraZ = -200.0f;
  ShadeStars(field);
  Timer2_Action(field);
  EXPECT_TRUE(s.z == -106.5f && Bits(s.cbrightness) == 0xC1C13333u);
}

TEST(StarField, RaisedStarMaxBringsInBlackStarsThatTheNextSweepPlaces) {
  StarField field;
  field.StarMax = 100;
  GenerateStars(field);
  field.CameraZ = -0.5f;
  field.StarMax = 200;
  ShadeStars(field);
  EXPECT_TRUE(field.Star[150].z == 0.0f && field.Star[150].cred == 0.0f);  // black
  Timer2_Action(field);
  for (int64_t i = 1; i <= 200; ++i) {
    const StarData& s = field.Star[i];
    ASSERT_TRUE(s.z <= -0.5f && (i <= 100 || (s.z <= -3.5f && s.z >= -10.5f && s.brightness > 0))) << i;
  }
}

}  // namespace
}  // namespace lumox
