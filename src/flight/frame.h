#pragma once
#include "flight/gl_api.h"
#include "flight/view_cut.h"
#include "starfield/star_field.h"

namespace lumox {

// One frame: rebuilds the projection, moves the camera by one Speed and one Rotn step on the
// modelview matrix it carries, and draws every live star as a point. Always returns false. After
// the first hour it also re-bases the depths and, now and then, makes the matrix again.
// StarSize is in the window's logical pixels; `device_pixel_ratio` turns it into the device
// pixels GL sizes points in, so a star covers the same part of the screen at any scale.
// With `cut`, the perspective is that part of a larger picture (a flight across several outputs).
bool Surface_Render(StarField& field, const GlApi& gl, double device_pixel_ratio = 1.0, const Projection* cut = nullptr);

// The same field seen through `camera` (a modelview matrix, column by column) and cut to another
// part of the picture: the other outputs of a flight across several. It moves nothing.
void DrawField(const StarField& field, const GlApi& gl, double device_pixel_ratio, const Projection& cut,
               const float camera[16]);

}  // namespace lumox
