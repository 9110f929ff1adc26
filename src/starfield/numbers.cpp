#include "starfield/numbers.h"

#include <cfloat>
#include <cmath>
#include <limits>

namespace lumox {

int64_t TruncToInt64(double value) {
  constexpr double kTwo63 = 9223372036854775808.0;  // 2^63, exactly representable
  if (std::isnan(value)) return 0;
  if (value >= kTwo63) return std::numeric_limits<int64_t>::max();
  if (value < -kTwo63) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(value);
}

float ToSingle(double value) {
  if (std::isnan(value)) return 0.0f;
  if (value > FLT_MAX) return FLT_MAX;
  if (value < -FLT_MAX) return -FLT_MAX;
  return static_cast<float>(value);
}

int64_t SaturatingAdd(int64_t a, int64_t b) {
  int64_t sum;
  if (!__builtin_add_overflow(a, b, &sum)) return sum;
  return b > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
}

int64_t SaturatingMul(int64_t a, int64_t b) {
  int64_t product;
  if (!__builtin_mul_overflow(a, b, &product)) return product;
  return (a < 0) != (b < 0) ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

}  // namespace lumox
