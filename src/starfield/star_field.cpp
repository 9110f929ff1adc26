#include "starfield/star_field.h"

namespace lumox {

float DefaultStarSize(int64_t screen_width) {
  return static_cast<float>((1.2 * static_cast<double>(screen_width)) / 1200.0);
}

int64_t DefaultStarMax(int64_t screen_width) {
  return TruncToInt64(static_cast<double>(SaturatingMul(screen_width, 18000)) / 1200.0);
}

int64_t Timer2Period(int64_t star_max, float speed) {
  const double product = static_cast<double>(star_max) * static_cast<double>(speed);
  return TruncToInt64((product * 2000.0) / 500000.0);
}

int64_t HoldStarMax(int64_t star_max) { return std::min(star_max, kStarUpperBound); }

Settings DefaultSettings(int64_t screen_width) {
  Settings s;
  s.Rotn = kDefaultRotn;
  s.Speed = kDefaultSpeed;
  s.ColourSpread = kDefaultColourSpread;
  s.StarSize = DefaultStarSize(screen_width);
  s.StarMax = DefaultStarMax(screen_width);
  return s;
}

float RebaseDepths(StarField& field) {
  if (!(field.CameraZ <= -kRebaseDepth)) return 0.0f;
  const float shift = std::bit_floor(static_cast<uint64_t>(-field.CameraZ));
  field.CameraZ = field.CameraZ + shift;
  for (int64_t i = 1; i <= kStarUpperBound; ++i) field.Star[i].z = field.Star[i].z + shift;
  return shift;
}

void ShadeStars(StarField& field) {
  const double camera_z = field.CameraZ;
  const int64_t star_max = std::min(field.StarMax, kStarUpperBound);
  StarData* stars = field.Star.data();
  for (int64_t i = 1; i <= star_max; ++i) {
    StarData& s = stars[i];
    s.cbrightness = static_cast<float>((1.4 * ((static_cast<double>(s.z) + 3.0) - camera_z)) / 3.0);
    s.cred = s.cbrightness * s.red;
    s.cblue = s.cbrightness * s.blue;
    s.cgreen = s.cbrightness * s.green;
  }
}

void GenerateStars(StarField& field) {
  Random random;
  GenerateStars(field, random);
}

void Timer2_Action(StarField& field) {
  Random random;
  RecycleStars(field, random);
}

}  // namespace lumox
