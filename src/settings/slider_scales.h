#pragma once
// Between a settings slider's integer and the field behind it. Division and multiplication are
// in double; a slider integer comes from truncation, so a value can come back one lower.
// None of them clamps.
#include <cstdint>

namespace lumox {

// The sliders' ends, in slider integers.
struct SliderRange {
  int low;
  int high;
};
inline constexpr SliderRange kSpeedSlider{2, 1000};
inline constexpr SliderRange kStarsSlider{100, 50000};
inline constexpr SliderRange kColourSpreadSlider{50, 255};
inline constexpr SliderRange kRotationSlider{-2000, 2000};
inline constexpr SliderRange kStarSizeSlider{5, 150};

float SpeedFromSlider(int64_t v);
int64_t SliderFromSpeed(float s);
float StarSizeFromSlider(int64_t v);
int64_t SliderFromStarSize(float s);

}  // namespace lumox
