#include "settings/slider_scales.h"

#include "starfield/numbers.h"

namespace lumox {

float SpeedFromSlider(int64_t v) { return ToSingle(static_cast<double>(v) / 10000.0); }

int64_t SliderFromSpeed(float s) { return TruncToInt64(static_cast<double>(s) * 10000.0); }

float StarSizeFromSlider(int64_t v) { return ToSingle(static_cast<double>(v) / 10.0); }

int64_t SliderFromStarSize(float s) { return TruncToInt64(static_cast<double>(s) * 10.0); }

}  // namespace lumox
