#pragma once
// Conversions and integer arithmetic that never fall into undefined behaviour:
// values from a hand-edited settings file can be anything a double can hold.
#include <cstdint>

namespace lumox {

// Truncates toward zero; NaN gives 0, values beyond the int64 range saturate.
int64_t TruncToInt64(double value);

// Nearest single, ties to even; beyond the float range saturates at +-FLT_MAX, NaN gives 0.
float ToSingle(double value);

int64_t SaturatingAdd(int64_t a, int64_t b);
int64_t SaturatingMul(int64_t a, int64_t b);

}  // namespace lumox
