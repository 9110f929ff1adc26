#pragma once
// The settings window's keyboard as a pure function. The arrows step the flight exactly as on
// the display and the sliders follow; escape acts on the settings window itself, every time.
#include <cstdint>
#include <vector>

#include "flight/display_keys.h"

namespace lumox {

// The settings window's geometry after escape.
inline constexpr int kPrefsEscapedWidth = 400;
inline constexpr int kPrefsEscapedHeight = 400;
inline constexpr int kPrefsEscapedLeft = 20;
inline constexpr int kPrefsEscapedTop = 50;

struct PrefsKeyEffect {
  enum class Kind {
    MinimizeAndResize,  // live resize on, menu bar shown, full screen off, minimise, 400x400 at 20,50
    SetTimer2Period,    // period in `value`
    SetSlider4,         // rotation slider to `value`
    SetSlider1,         // speed slider to `value`
  };
  Kind kind;
  int64_t value = 0;
  friend bool operator==(const PrefsKeyEffect&, const PrefsKeyEffect&) = default;
};

struct PrefsKeyResult {
  int64_t Rotn;
  float Speed;
  std::vector<PrefsKeyEffect> effects;
};

// Every key that is down takes effect, in the order escape, left, right, down, up; `s` is not asked.
PrefsKeyResult PrefsKeyDown(const KeySet& keys, int64_t Rotn, float Speed, int64_t StarMax);

}  // namespace lumox
