#include "settings/slider_scales.h"

#include <gtest/gtest.h>

#include <bit>
#include <tuple>

#include "starfield/star_field.h"

namespace lumox {
namespace {

enum Scale { kSpeed, kSize };
float From(Scale s, int64_t v) { return s == kSpeed ? SpeedFromSlider(v) : StarSizeFromSlider(v); }
int64_t To(Scale s, float f) { return s == kSpeed ? SliderFromSpeed(f) : SliderFromStarSize(f); }

TEST(SliderScales, TellingRowsRepeatedPassesAndWholeRanges) {
  // The stored single's bits, then the integers that further passes fall to until one stays.
  struct Row { Scale scale; int64_t v; uint32_t bits; std::vector<int64_t> passes; };
  const Row rows[] = {
      {kSpeed, 2, 0x3951B717, {1, 0}},                        // 0.00019999999494757503
      {kSpeed, 16, 0x3AD1B717, {15}},                         // 0.0015999999595806003
      {kSpeed, 35, 0x3B656042, {}},                           // 0.0035000001080334187
      {kSpeed, 158, 0x3C816F00, {157, 156, 155, 154, 153}},  // 0.015799999237060547
      {kSpeed, 1000, 0x3DCCCCCD, {}},                         // 0.10000000149011612
      {kSize, 7, 0x3F333333, {6}},                            // 0.699999988079071
      {kSize, 14, 0x3FB33333, {13, 12}},                      // 1.399999976158142
      {kSize, 150, 0x41700000, {}},                           // 15.0
  };
  for (const Row& r : rows) {
    EXPECT_EQ(std::bit_cast<uint32_t>(From(r.scale, r.v)), r.bits) << r.v;
    std::vector<int64_t> seen;
    for (int64_t v = r.v, next; (next = To(r.scale, From(r.scale, v))) != v; v = next) seen.push_back(next);
    EXPECT_EQ(seen, r.passes) << r.v;
  }
  // The single nearest 1.28 lies below it and still gives 12.
  EXPECT_EQ(SliderFromStarSize(DefaultStarSize(1280)), 12);

  // Over each slider's whole range a value comes back as itself or one lower, never anything else.
  for (const auto& [scale, lo, hi, lower] : {std::tuple{kSpeed, 2, 1000, 473}, {kSize, 5, 150, 58}}) {
    int came_back_lower = 0;
    for (int64_t v = lo; v <= hi; ++v) {
      const int64_t back = To(scale, From(scale, v));
      ASSERT_TRUE(back == v || back == v - 1) << v;
      came_back_lower += back != v;
    }
    EXPECT_EQ(came_back_lower, lower) << lo;
  }
}

}  // namespace
}  // namespace lumox
