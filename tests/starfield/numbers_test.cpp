#include "starfield/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace lumox {
namespace {

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

// Ordinary truncation and saturation far out are also exercised by reading settings files.
TEST(Numbers, ConversionsTruncateAndSaturateInsteadOfOverflowing) {
  EXPECT_EQ(TruncToInt64(9223372036854774784.0), 9223372036854774784);  // largest double below 2^63
  EXPECT_EQ(TruncToInt64(9223372036854775808.0), kMax);
  EXPECT_EQ(TruncToInt64(-9223372036854775808.0), kMin);
  EXPECT_EQ(TruncToInt64(-12.9), -12);
  EXPECT_EQ(TruncToInt64(NAN), 0);

  EXPECT_EQ(ToSingle(NAN), 0.0f);
  EXPECT_EQ(ToSingle(0.1), 0.1f);

  EXPECT_EQ(SaturatingAdd(kMax, 50), kMax);
  EXPECT_EQ(SaturatingAdd(kMin, -20), kMin);
  EXPECT_EQ(SaturatingMul(kMax / 2, 18000), kMax);
  EXPECT_EQ(SaturatingMul(-(kMax / 2), 18000), kMin);
}

}  // namespace
}  // namespace lumox
