#pragma once
// Between a settings slider's integer and the field behind it. Division and multiplication are
// in double; a slider integer comes from truncation, so a value can come back one lower.
// None of them clamps.
#include <cstdint>

namespace lumox {

float SpeedFromSlider(int64_t v);
int64_t SliderFromSpeed(float s);
float StarSizeFromSlider(int64_t v);
int64_t SliderFromStarSize(float s);

}  // namespace lumox
