#include "flight/view_cut.h"

#include <algorithm>
#include <cmath>

namespace lumox {

ViewRect BoundingBox(const std::vector<ViewRect>& rects) {
  bool any = false;
  int64_t left = 0, top = 0, right = 0, bottom = 0;
  for (const ViewRect& r : rects) {
    if (r.width <= 0 || r.height <= 0) continue;
    left = any ? std::min(left, r.x) : r.x;
    top = any ? std::min(top, r.y) : r.y;
    right = any ? std::max(right, r.x + r.width) : r.x + r.width;
    bottom = any ? std::max(bottom, r.y + r.height) : r.y + r.height;
    any = true;
  }
  return {left, top, right - left, bottom - top};
}

int64_t EdgeMargin(float star_size) { return static_cast<int64_t>(std::ceil(star_size / 2.0)) + 1; }

ViewRect GrownInside(const ViewRect& part, const ViewRect& whole, int64_t by) {
  const int64_t left = part.x > whole.x ? by : 0, top = part.y > whole.y ? by : 0;
  const int64_t right = part.x + part.width < whole.x + whole.width ? by : 0;
  const int64_t bottom = part.y + part.height < whole.y + whole.height ? by : 0;
  return {part.x - left, part.y - top, part.width + left + right, part.height + top + bottom};
}

Projection CutPerspective(const ViewRect& part, const ViewRect& whole) {
  // GLU's steps, one for one, so that the whole gives the very matrix gluPerspective loads.
  const double radians = kFovy / 2 * M_PI / 180;
  const double cotangent = std::cos(radians) / std::sin(radians);
  const double depth = kFar - kNear;
  // The part's share of the whole in normalised x and y, as a scale and a shift: x' = a x + b.
  // From whole pixels, each in one rounding; the whole gives 1 and 0 exactly. GL's y is upwards.
  const double u = static_cast<double>(part.x - whole.x), v = static_cast<double>(part.y - whole.y);
  const double w = static_cast<double>(part.width), h = static_cast<double>(part.height);
  const double ax = static_cast<double>(whole.width) / w, ay = static_cast<double>(whole.height) / h;
  const double bx = (static_cast<double>(whole.width) - 2 * u - w) / w;
  const double by = (2 * v + h - static_cast<double>(whole.height)) / h;
  Projection m{};
  m[0] = cotangent / kAspect * ax;
  m[5] = cotangent * ay;
  // Clip w is -z, so the shift goes into the z column with its sign turned (+ 0.0: never -0).
  m[8] = -bx + 0.0;
  m[9] = -by + 0.0;
  m[10] = -(kFar + kNear) / depth;
  m[11] = -1;
  m[14] = -2 * kNear * kFar / depth;
  return m;
}

}  // namespace lumox
