// The star field: the defaults, generation, shading and recycling bit for bit, and the random numbers.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <tuple>
#include <vector>

#include "starfield/star_field.h"
#include "support/core_helpers.h"

namespace lumox {
namespace {

// A source of N that gives exactly the values it was handed; asked for more, it throws and the test fails.
struct ScriptedNumbers {
  std::vector<double> values;
  size_t used = 0;
  double Number() { return values.at(used++); }
};

using Fields = std::array<uint32_t, 11>;

// x, y, z, brightness, cbrightness, red, green, blue, cred, cgreen, cblue.
Fields Written(const StarData& s) {
  return {Bits(s.x),     Bits(s.y),     Bits(s.z),    Bits(s.brightness), Bits(s.cbrightness), Bits(s.red),
          Bits(s.green), Bits(s.blue), Bits(s.cred), Bits(s.cgreen),     Bits(s.cblue)};
}

bool IsZero(const StarData& s) { return Written(s) == Fields{} && s.size == 0 && s.colour == 0 && s.dx == 0 && s.dy == 0; }

TEST(StarField, DefaultsByScreenWidthAndTimer2Period) {
  // The singles nearest W / 1000; 3334 is the first width whose count passes the array's 50000.
  const struct { int64_t width; uint32_t size_bits; int64_t star_max; } rows[] = {
      {1024, 0x3F83126F, 15360}, {1440, 0x3FB851EC, 21600}, {3334, 0x40556042, 50010}};
  for (const auto& row : rows) {
    const Settings d = DefaultSettings(row.width);
    EXPECT_EQ(std::tuple(d.Rotn, Bits(d.Speed), d.ColourSpread, Bits(d.StarSize), d.StarMax),
              std::tuple(35, 0x3B656042u, 170, row.size_bits, row.star_max)) << row.width;
  }
  // 19999 at 0.1 is 7.9996 exactly: truncated, not rounded. A file's speed can be anything.
  const struct { int64_t star_max; float speed; int64_t period; } periods[] = {
      {21600, kDefaultSpeed, 0}, {21600, 0.0125f, 1}, {21600, 0.1f, 8}, {50000, 0.1f, 20}, {19999, 0.1f, 7},
      {21600, -0.1f, -8},        {50000, 3e38f, std::numeric_limits<int64_t>::max()}};
  for (const auto& p : periods) EXPECT_EQ(Timer2Period(p.star_max, p.speed), p.period) << p.star_max;
}

TEST(StarField, GenerationFollowsTheFormulasBitForBit) {
  StarField field{.StarMax = 3};
  field.Star[4].x = 9.0f;  // beyond StarMax: made anew and left at zero
  // Star 1 at the far plane; star 2 beyond it, green at its own cap; star 3's green takes the larger of red and blue.
  ScriptedNumbers n{{0.5, 0.25, 0.3, 0.5, 0.5, 0.2, 0.9,  //
                     0.1, 0.9, 0.75, 1.0, 0.9, 0.8, 0.0,  //
                     0.0, 0.0, 0.1, 0.0, 0.0, 0.5, 1.0}};
  GenerateStars(field, n);
  EXPECT_EQ(n.used, 21u);
  const Fields expected[] = {
      {0, 0xBFA00000, 0xC0400000, 0x3F333333, 0, 0x3F1C5C5C, 0x3F1C5C5C, 0x3F06396C, 0, 0, 0},
      {0xC0000000, 0x40000000, 0xC0F00000, 0x3F99999A, 0xBFE66667, 0x3F9F5286, 0x3F848485, 0x3F98FF66, 0xC00F63DF,
       0xBFEE8823, 0xC009B2A9},
      {0xC0200000, 0xC0200000, 0xBF800000, 0x3E4CCCCD, 0x3E088889, 0x3E088889, 0x3E32B2B3, 0x3E32B2B3, 0x3C91A2B5,
       0x3CBE9C7B, 0x3CBE9C7B}};
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Written(field.Star[i + 1]), expected[i]) << i + 1;
  EXPECT_TRUE(IsZero(field.Star[4]) && IsZero(field.Star[0]));

  field.StarMax = 1;
  field.ColourSpread = 255;
  ScriptedNumbers top{{0.5, 0.5, 0.5, 1.0, 1.0, 0.0, 0.0}};
  GenerateStars(field, top);
  EXPECT_EQ(Bits(field.Star[1].red), 0x3FD8D8D9u);  // about 1.69, not clamped
}

TEST(StarField, ShadingByDepthInDouble) {
  StarField field{.StarMax = 3, .CameraZ = -10.0f};
  field.Star[1] = {.z = -10.0f, .red = 0.9f, .green = 0.5f};  // depth 0
  field.Star[2] = {.z = -13.0f, .red = 0.9f};                 // depth 3: the far plane
  field.Star[3] = {.z = -14.0f, .blue = 1.0f};                // beyond it
  field.Star[4] = {.z = -10.0f, .red = 1.0f};                 // not live
  ShadeStars(field);
  const StarData& s = field.Star[1];  // 1.4, 1.26, 0.7
  EXPECT_EQ((std::array{Bits(s.cbrightness), Bits(s.cred), Bits(s.cgreen)}),
            (std::array{0x3FB33333u, 0x3FA147AEu, 0x3F333333u}));
  EXPECT_TRUE(Bits(field.Star[2].cbrightness) == 0 && Bits(field.Star[2].cred) == 0);
  EXPECT_TRUE(field.Star[3].cblue < 0.0f && field.Star[4].cred == 0.0f);

  // After the first frame: worked in single precision the factor would end in ...F9.
  field.CameraZ = -kDefaultSpeed;
  field.Star[1] = {.z = -1.0f, .red = 0.9f, .green = 0.5f, .blue = 0.25f};
  ShadeStars(field);
  EXPECT_EQ((std::array{Bits(s.cbrightness), Bits(s.cred), Bits(s.cgreen), Bits(s.cblue)}),
            (std::array{0x3F6F59FAu, 0x3F576A94u, 0x3EEF59FAu, 0x3E6F59FAu}));
}

TEST(StarField, RecyclingOnlyThePassedStarsWithTheCurrentSpread) {
  StarField field{.StarMax = 3, .CameraZ = -100.0f, .ColourSpread = 80};
  field.Star[1].z = -99.0f;                        // passed
  field.Star[2] = {.z = -100.0f, .red = 0.25f};  // exactly at the camera: not passed yet
  field.Star[3].z = -101.0f;                       // ahead
  field.Star[4].z = 0.0f;                          // passed but not live
  ScriptedNumbers n{{0.5, 0.25, 0.5, 0.6, 0.1, 0.9, 0.3}};
  RecycleStars(field, n);
  EXPECT_EQ(n.used, 7u);
  // Depth 6.5; cbrightness is measured on the absolute z, so it lies well below zero.
  EXPECT_EQ(Written(field.Star[1]), (Fields{0, 0xBFA00000, 0xC2D50000, 0x3F4CCCCD, 0xC1DCCCCD, 0x3E915E2B,
                                            0x3EDF45AC, 0x3F0C25BF, 0xC0FAC271, 0xC140927E, 0xC171C11D}));
  EXPECT_TRUE(field.Star[2].z == -100.0f && field.Star[2].red == 0.25f && field.Star[3].z == -101.0f && field.Star[4].z == 0.0f);

  field.StarMax = 0;  // touches nothing, though star 1 is now far behind
  field.CameraZ = -200.0f;
  ShadeStars(field);
  Timer2_Action(field);
  EXPECT_EQ(Bits(field.Star[1].cbrightness), 0xC1DCCCCDu);
}

TEST(Random, UniformInTheUnitIntervalAndEachNewObjectHasASequenceOfItsOwn) {
  Random random;
  int buckets[10] = {};
  for (int i = 0; i < 200000; ++i) {
    const double n = random.Number();
    ASSERT_TRUE(n >= 0.0 && n < 1.0) << n;
    ++buckets[static_cast<int>(n * 10)];
  }
  for (int count : buckets) EXPECT_NEAR(count, 20000, 2000);

  // The sweep makes a new object every tick; none may replay (or shift into) its predecessor's draws.
  std::vector<double> previous;
  for (int object = 0; object < 2000; ++object) {
    Random next;
    std::vector<double> draws(16);
    for (double& d : draws) d = next.Number();
    for (double earlier : previous)
      for (double now : draws) ASSERT_NE(earlier, now) << "object " << object;
    previous = draws;
  }
}

}  // namespace
}  // namespace lumox
