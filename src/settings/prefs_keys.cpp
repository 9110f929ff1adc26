#include "settings/prefs_keys.h"

#include "settings/slider_scales.h"
#include "starfield/star_field.h"

namespace lumox {

PrefsKeyResult PrefsKeyDown(const KeySet& keys, int64_t Rotn, float Speed, int64_t StarMax) {
  using Kind = PrefsKeyEffect::Kind;
  PrefsKeyResult r{Rotn, Speed, {}};
  if (keys[kKeyEscape]) r.effects.push_back({Kind::MinimizeAndResize});
  if (keys[kKeyLeft]) {
    r.Rotn = RotnLeft(r.Rotn);
    r.effects.push_back({Kind::SetSlider4, r.Rotn});
  }
  if (keys[kKeyRight]) {
    r.Rotn = RotnRight(r.Rotn);
    r.effects.push_back({Kind::SetSlider4, r.Rotn});
  }
  if (keys[kKeyDown]) {
    r.Speed = SpeedDown(r.Speed);
    r.effects.push_back({Kind::SetTimer2Period, Timer2Period(StarMax, r.Speed)});
    r.effects.push_back({Kind::SetSlider1, SliderFromSpeed(r.Speed)});
  }
  if (keys[kKeyUp]) {
    r.Speed = SpeedUp(r.Speed);
    r.effects.push_back({Kind::SetTimer2Period, Timer2Period(StarMax, r.Speed)});
    r.effects.push_back({Kind::SetSlider1, SliderFromSpeed(r.Speed)});
  }
  return r;
}

}  // namespace lumox
