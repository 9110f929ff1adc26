#pragma once
// The star field: the records, the settings that steer the flight, and the three passes over
// the stars (generation, shading, recycling). Every formula is worked in double from the
// widened single fields and rounded once to single where it is stored.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include "starfield/numbers.h"
#include "starfield/random.h"
#include "starfield/star_data.h"

namespace lumox {

inline constexpr int64_t kStarUpperBound = 50000;  // Star(1) .. Star(50000); slot 0 unused
inline constexpr int64_t kDefaultRotn = 35;
inline const float kDefaultSpeed = std::bit_cast<float>(0x3B656042u);  // the single nearest 0.0035
inline constexpr int64_t kDefaultColourSpread = 170;

float DefaultStarSize(int64_t screen_width);
int64_t DefaultStarMax(int64_t screen_width);

// Period of the recycling timer in milliseconds.
int64_t Timer2Period(int64_t star_max, float speed);

// StarMax can arrive from the settings file or the width default above the array's size.
int64_t HoldStarMax(int64_t star_max);

struct StarField {
  std::vector<StarData> Star = std::vector<StarData>(kStarUpperBound + 1);
  int64_t StarMax = 0;
  float CameraZ = 0.0f;
  int64_t Rotn = kDefaultRotn;
  float Speed = kDefaultSpeed;
  int64_t ColourSpread = kDefaultColourSpread;
  float StarSize = 0.0f;
  int64_t Frames = 0;   // frames drawn since take-off
  double Turned = 0.0;  // the sum of the frames' turns in degrees, kept within (-360, 360)
};

// A flight left on for days. In single precision a step of Speed from a CameraZ of some
// thousands is rounded by more than a tenth, and from -65536 on it is lost. After the first hour,
// flown as it always was, the camera's depth and every star's are taken back towards 0.
inline constexpr int64_t kSteadyFrames = 120000;  // an hour at 30 ms
inline constexpr float kRebaseDepth = 256.0f;     // a step of the least Speed is still within 8 %
// Once CameraZ is at -kRebaseDepth or deeper, adds the largest power of two not above -CameraZ to
// CameraZ and to every star's z, and gives it (else 0). Both sums are exact for the camera and
// every star near it, so the matrix, shifted by the same power of two, shows each star as before.
float RebaseDepths(StarField& field);

// The five settings that the settings file carries, in the file's order.
struct Settings {
  int64_t Rotn = kDefaultRotn;
  float Speed = kDefaultSpeed;
  int64_t ColourSpread = kDefaultColourSpread;
  float StarSize = 0.0f;
  int64_t StarMax = 0;
  bool operator==(const Settings&) const = default;
};

Settings DefaultSettings(int64_t screen_width);

// The shading pass: depth factor and drawn colours of stars 1..StarMax.
void ShadeStars(StarField& field);

namespace detail {

// Steps 4 to 9 of placing a star, shared by generation and recycling; z is already stored.
template <class Source>
inline void FillColours(StarData& s, Source& random, int64_t colour_spread) {
  s.brightness = static_cast<float>(random.Number() + 0.2);
  s.cbrightness = static_cast<float>(((static_cast<double>(s.z) + 3.0) / 3.0) * s.brightness);
  const double spread = static_cast<double>(colour_spread);
  s.red = static_cast<float>(((105.0 * random.Number() + spread) * s.brightness) / 255.0);
  s.blue = static_cast<float>(((105.0 * random.Number() + spread) * s.brightness) / 255.0);
  const double green_base = static_cast<double>(SaturatingAdd(colour_spread, 50));
  const double green_cap = ((30.0 * random.Number() + green_base) * s.brightness) / 255.0;
  s.green = static_cast<float>(std::min(std::max<double>(s.red, s.blue), green_cap));
  s.cred = s.cbrightness * s.red;
  s.cgreen = s.cbrightness * s.green;
  s.cblue = s.cbrightness * s.blue;
}

}  // namespace detail

// Generation: all 50000 records made anew, stars 1..StarMax placed, drawing from one source.
template <class Source>
void GenerateStars(StarField& field, Source& random) {
  for (int64_t i = 1; i <= kStarUpperBound; ++i) field.Star[i] = StarData{};
  const int64_t star_max = std::min(field.StarMax, kStarUpperBound);
  for (int64_t i = 1; i <= star_max; ++i) {
    StarData& s = field.Star[i];
    s.x = static_cast<float>(5.0 * random.Number() - 2.5);
    s.y = static_cast<float>(5.0 * random.Number() - 2.5);
    s.z = static_cast<float>(-10.0 * random.Number());
    detail::FillColours(s, random, field.ColourSpread);
  }
}

// Recycling sweep: every star the camera has passed gets a new place 3.0 to 10.0 ahead.
template <class Source>
void RecycleStars(StarField& field, Source& random) {
  const float camera_z = field.CameraZ;
  const int64_t star_max = std::min(field.StarMax, kStarUpperBound);
  for (int64_t i = 1; i <= star_max; ++i) {
    StarData& s = field.Star[i];
    if (!(s.z > camera_z)) continue;
    s.x = static_cast<float>(5.0 * random.Number() - 2.5);
    s.y = static_cast<float>(5.0 * random.Number() - 2.5);
    s.z = static_cast<float>((-7.0 * random.Number() - 3.0) + static_cast<double>(camera_z));
    detail::FillColours(s, random, field.ColourSpread);
  }
}

// The timers' actions with the platform's source: a new Random for the fill and for each sweep.
void GenerateStars(StarField& field);
void Timer2_Action(StarField& field);

}  // namespace lumox
