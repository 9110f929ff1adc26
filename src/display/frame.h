#pragma once
#include "display/gl_api.h"
#include "starfield/star_field.h"

namespace lumox {

// One frame: rebuilds the projection, moves the camera by one Speed and one Rotn step on the
// never-reset modelview matrix, and draws every live star as a point. Always returns false.
bool Surface_Render(StarField& field, const GlApi& gl);

}  // namespace lumox
