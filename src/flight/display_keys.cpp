#include "flight/display_keys.h"

#include <algorithm>

#include "starfield/numbers.h"
#include "starfield/star_field.h"

namespace lumox {

int64_t RotnLeft(int64_t rotn) {
  const double stepped = static_cast<double>(SaturatingAdd(rotn, -kRotnStep));
  return TruncToInt64(std::max(stepped, kRotnFloor));
}

int64_t RotnRight(int64_t rotn) {
  const double stepped = static_cast<double>(SaturatingAdd(rotn, kRotnStep));
  return TruncToInt64(std::min(stepped, kRotnCeiling));
}

float SpeedDown(float speed) {
  return ToSingle(std::max(static_cast<double>(speed) - kSpeedStep, kSpeedFloor));
}

float SpeedUp(float speed) {
  return ToSingle(std::min(static_cast<double>(speed) + kSpeedStep, kSpeedCeiling));
}

DisplayKeyResult DisplayKeyDown(const KeySet& keys, int64_t Rotn, float Speed, int64_t StarMax,
                                bool escaped) {
  using Kind = DisplayKeyEffect::Kind;
  DisplayKeyResult r{Rotn, Speed, escaped, {}};
  if (keys[kKeyEscape]) {
    if (!r.escaped) {
      r.effects.push_back({Kind::LeaveFullScreen});
      r.escaped = true;
    } else {
      r.effects.push_back({Kind::Restore});
    }
  }
  if (keys[kKeyLeft]) r.Rotn = RotnLeft(r.Rotn);
  if (keys[kKeyRight]) r.Rotn = RotnRight(r.Rotn);
  if (keys[kKeyDown]) {
    r.Speed = SpeedDown(r.Speed);
    r.effects.push_back({Kind::SetTimer2Period, Timer2Period(StarMax, r.Speed)});
  }
  if (keys[kKeyUp]) {
    r.Speed = SpeedUp(r.Speed);
    r.effects.push_back({Kind::SetTimer2Period, Timer2Period(StarMax, r.Speed)});
  }
  if (keys[kKeyS]) r.effects.push_back({Kind::ShowPrefs});
  return r;
}

}  // namespace lumox
