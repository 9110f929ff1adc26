#pragma once
// The display window's keyboard as a pure function: the keys down now and the flight fields in,
// new fields and an ordered list of window effects out. The window glue carries the effects out.
#include <bitset>
#include <cstdint>
#include <vector>

namespace lumox {

// macOS virtual key codes; the glue maps the platform's keys onto them.
inline constexpr int kKeyS = 1;
inline constexpr int kKeyEscape = 53;
inline constexpr int kKeyLeft = 123;
inline constexpr int kKeyRight = 124;
inline constexpr int kKeyDown = 125;
inline constexpr int kKeyUp = 126;

// The key codes that are down at the moment of the handler.
using KeySet = std::bitset<128>;

inline constexpr int64_t kRotnStep = 20;
inline constexpr double kRotnFloor = -2000.0;
inline constexpr double kRotnCeiling = 2000.0;
inline constexpr double kSpeedStep = 0.0025;
inline constexpr double kSpeedFloor = 0.0002;
inline constexpr double kSpeedCeiling = 0.1;

// The display window's geometry once escape has taken it out of full screen.
inline constexpr int kEscapedWidth = 600;
inline constexpr int kEscapedHeight = 400;
inline constexpr int kEscapedLeft = 20;
inline constexpr int kEscapedTop = 50;

// One step of an arrow key. Each clamps only on the side it moves to, so a value from the
// settings file beyond the limits is pulled in only when a key pushes it further out.
int64_t RotnLeft(int64_t rotn);
int64_t RotnRight(int64_t rotn);
float SpeedDown(float speed);
float SpeedUp(float speed);

struct DisplayKeyEffect {
  enum class Kind {
    LeaveFullScreen,  // live resize on, menu bar shown, full screen off, 600x400 at 20,50
    Restore,          // Window.Restore
    SetTimer2Period,  // period in `period`
    ShowPrefs,        // wPrefs shown through its accessor
  };
  Kind kind;
  int64_t period = 0;
  friend bool operator==(const DisplayKeyEffect&, const DisplayKeyEffect&) = default;
};

struct DisplayKeyResult {
  int64_t Rotn;
  float Speed;
  bool escaped;
  std::vector<DisplayKeyEffect> effects;
};

// Every key that is down takes effect, in the order escape, left, right, down, up, s.
DisplayKeyResult DisplayKeyDown(const KeySet& keys, int64_t Rotn, float Speed, int64_t StarMax,
                                bool escaped);

}  // namespace lumox
