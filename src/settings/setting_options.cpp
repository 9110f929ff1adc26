#include "settings/setting_options.h"

#include <algorithm>

#include "settings/slider_scales.h"
#include "starfield/numbers.h"

namespace lumox {

namespace {
int64_t WholeIn(double value, SliderRange range) {
  return std::clamp<int64_t>(TruncToInt64(value), range.low, range.high);
}
}  // namespace

Settings WithOptions(Settings s, const SettingOptions& options) {
  if (options.rotation) s.Rotn = WholeIn(*options.rotation, kRotationSlider);
  if (options.speed)
    s.Speed = std::clamp(ToSingle(*options.speed), SpeedFromSlider(kSpeedSlider.low), SpeedFromSlider(kSpeedSlider.high));
  if (options.colour_spread) s.ColourSpread = WholeIn(*options.colour_spread, kColourSpreadSlider);
  if (options.star_size)
    s.StarSize = std::clamp(ToSingle(*options.star_size), StarSizeFromSlider(kStarSizeSlider.low),
                            StarSizeFromSlider(kStarSizeSlider.high));
  if (options.stars) s.StarMax = WholeIn(*options.stars, kStarsSlider);
  return s;
}

}  // namespace lumox
