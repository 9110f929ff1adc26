#include "settings/slider_scales.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

#include "starfield/star_field.h"

namespace lumox {
namespace {

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

// Slider integers visited by repeated passes through the scale until one comes back unchanged.
template <class From, class To>
std::vector<int64_t> Passes(int64_t v, From from, To to) {
  std::vector<int64_t> seen;
  for (int64_t next = to(from(v)); next != v; next = to(from(v))) seen.push_back(v = next);
  return seen;
}

TEST(SliderScalesTest, SpeedTellingRows) {
  struct Row { int64_t v; uint32_t bits; std::vector<int64_t> passes; };
  const Row rows[] = {
      {2, 0x3951B717, {1, 0}},                    // 0.00019999999494757503
      {7, 0x3A378034, {6}},                       // 0.000699999975040555
      {15, 0x3AC49BA6, {}},                       // 0.001500000013038516
      {16, 0x3AD1B717, {15}},                     // 0.0015999999595806003
      {35, 0x3B656042, {}},                       // 0.0035000001080334187
      {158, 0x3C816F00, {157, 156, 155, 154, 153}},  // 0.015799999237060547
      {1000, 0x3DCCCCCD, {}},                     // 0.10000000149011612
  };
  for (const Row& r : rows) {
    EXPECT_EQ(Bits(SpeedFromSlider(r.v)), r.bits) << r.v;
    EXPECT_EQ(Passes(r.v, SpeedFromSlider, SliderFromSpeed), r.passes) << r.v;
  }
  EXPECT_EQ(SliderFromSpeed(kDefaultSpeed), 35);
  EXPECT_EQ(Timer2Period(50000, SpeedFromSlider(1000)), 20);  // 20.0000003 before truncation
}

TEST(SliderScalesTest, StarSizeTellingRowsAndWidthDefaults) {
  struct Row { int64_t v; uint32_t bits; std::vector<int64_t> passes; };
  const Row rows[] = {
      {5, 0x3F000000, {}},         // 0.5
      {7, 0x3F333333, {6}},        // 0.699999988079071
      {14, 0x3FB33333, {13, 12}},  // 1.399999976158142
      {15, 0x3FC00000, {}},        // 1.5
      {150, 0x41700000, {}},       // 15.0
  };
  for (const Row& r : rows) {
    EXPECT_EQ(Bits(StarSizeFromSlider(r.v)), r.bits) << r.v;
    EXPECT_EQ(Passes(r.v, StarSizeFromSlider, SliderFromStarSize), r.passes) << r.v;
  }
  const int64_t widths[] = {1024, 1280, 1440, 1920, 2560};
  const int64_t sliders[] = {10, 12, 14, 19, 25};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(SliderFromStarSize(DefaultStarSize(widths[i])), sliders[i]);
}

TEST(SliderScalesTest, RoundTripLosesAtMostOne) {
  int speed_lower = 0;
  for (int64_t v = 2; v <= 1000; ++v) {
    const int64_t back = SliderFromSpeed(SpeedFromSlider(v));
    ASSERT_TRUE(back == v || back == v - 1) << v;
    speed_lower += back != v;
  }
  EXPECT_EQ(speed_lower, 473);
  int size_lower = 0;
  for (int64_t v = 5; v <= 150; ++v) {
    const int64_t back = SliderFromStarSize(StarSizeFromSlider(v));
    ASSERT_TRUE(back == v || back == v - 1) << v;
    size_lower += back != v;
  }
  EXPECT_EQ(size_lower, 58);
}

}  // namespace
}  // namespace lumox
