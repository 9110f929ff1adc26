#pragma once
// With --span the outputs show one picture the size of their bounding box: each draws its own
// part of that picture's perspective, an off-centre frustum. Plain numbers, no GL.
#include <array>
#include <cstdint>
#include <vector>

namespace lumox {

// The frame's perspective, as gluPerspective is given it.
inline constexpr double kFovy = 55.0;
inline constexpr double kAspect = 2.0;  // the picture is stretched to the surface's shape
inline constexpr double kNear = 0.001;
inline constexpr double kFar = 3.0;

// A rectangle in logical pixels, y downwards, as the desktop lays out its outputs.
struct ViewRect {
  int64_t x = 0, y = 0, width = 0, height = 0;
  bool operator==(const ViewRect&) const = default;
};

// The smallest rectangle that holds every one of `rects` that is not empty; all 0 for none.
ViewRect BoundingBox(const std::vector<ViewRect>& rects);

// A projection matrix column by column, as glLoadMatrixd takes it.
using Projection = std::array<double, 16>;

// The perspective a surface the size of `whole` shows, cut to `part` of it: the glFrustum of
// that part's share of the view. For the whole itself it is gluPerspective's matrix, bit for bit.
Projection CutPerspective(const ViewRect& part, const ViewRect& whole);

// GL draws a point only when its centre is in view, so a star on the edge between two outputs
// would show half its disc on one and nothing on the other. Each output's view reaches this far
// past its edges, in logical pixels, for stars of this size; its surface keeps what is its own.
int64_t EdgeMargin(float star_size);
// `part` grown by `by` on each side inside `whole`: on the whole's own edges it stays, as one
// surface of the whole's size shows no star whose centre is beyond them.
ViewRect GrownInside(const ViewRect& part, const ViewRect& whole, int64_t by);

}  // namespace lumox
