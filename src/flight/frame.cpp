#include "flight/frame.h"

#include <algorithm>
#include <cmath>

namespace lumox {

namespace {
// Every so many frames after the first hour the camera's matrix is built anew, see below.
constexpr int64_t kRestoreEvery = 1000;
// How far one rebuild moves the picture's scale back towards 1: 0.1 pixel at 1000 pixels from the
// centre, so the drift of the first hour is taken out in steps no one sees (it gains far less).
constexpr double kScaleStep = 1e-4;

// The camera made again from the depth and the turn it stands for, exact in z, at a scale moved
// towards 1 from the one its matrix has drifted to.
void RestoreCamera(const StarField& field, const GlApi& gl) {
  float m[16];
  gl.GetModelview(m);
  const double drifted = (std::hypot(m[0], m[1]) + std::hypot(m[4], m[5])) / 2.0;
  const double scale = std::clamp(1.0, drifted - kScaleStep, drifted + kScaleStep);
  gl.LoadIdentity();
  gl.Translatef(0.0f, 0.0f, -field.CameraZ);
  gl.Rotatef(static_cast<float>(field.Turned), 0.0f, 0.0f, 1.0f);
  if (scale != 1.0) gl.Scalef(static_cast<float>(scale), static_cast<float>(scale), 1.0f);
}

// The perspective, the cleared picture and the points' size, before the camera's part.
void Begin(const StarField& field, const GlApi& gl, double device_pixel_ratio, const Projection* cut) {
  gl.MatrixMode(gl::kProjection);
  if (cut) {
    gl.LoadMatrixd(cut->data());
  } else {
    gl.LoadIdentity();
    gl.Perspective(kFovy, kAspect, kNear, kFar);
  }
  gl.MatrixMode(gl::kModelview);  // the camera: carried from frame to frame
  gl.ClearColor(0.0f, 0.0f, 0.0f, 1.0f);
  gl.Clear(gl::kColorBufferBit);
  // At scale 1 the size goes to GL untouched.
  gl.PointSize(device_pixel_ratio == 1.0 ? field.StarSize
                                         : static_cast<float>(static_cast<double>(field.StarSize) * device_pixel_ratio));
  gl.Enable(gl::kPointSmooth);
}

void DrawStars(const StarField& field, const GlApi& gl) {
  gl.Begin(gl::kPoints);
  const int64_t star_max = std::min(field.StarMax, kStarUpperBound);
  const StarData* stars = field.Star.data();
  for (int64_t i = 1; i <= star_max; ++i) {
    const StarData& s = stars[i];
    gl.Color3d(s.cred, s.cgreen, s.cblue);
    gl.Vertex3f(s.x, s.y, s.z);
  }
  gl.Vertex3f(1.0f, 1.0f, 0.0f);
  gl.Vertex3f(-1.0f, -1.0f, 0.0f);
  gl.End();
}

}  // namespace

bool Surface_Render(StarField& field, const GlApi& gl, double device_pixel_ratio, const Projection* cut) {
  Begin(field, gl, device_pixel_ratio, cut);
  gl.Translatef(0.0f, 0.0f, field.Speed);
  field.CameraZ = field.CameraZ - field.Speed;  // shadows the matrix's z translation
  const float angle = static_cast<float>(static_cast<double>(field.Rotn) / -1000.0);
  field.Turned += angle;
  if (field.Turned >= 360.0) field.Turned -= 360.0;
  if (field.Turned <= -360.0) field.Turned += 360.0;
  const bool steady = ++field.Frames <= kSteadyFrames;
  if (!steady)
    if (const float shift = RebaseDepths(field); shift != 0.0f) gl.Translatef(0.0f, 0.0f, -shift);
  gl.Rotatef(angle, 0.0f, 0.0f, 1.0f);
  // GL's product of a million small turns drifts in scale (Mesa's to 0.1 or to 1.9 in 30 days at
  // some Rotn); the matrix is made again from the depth and the turn it stands for, exact in z.
  if (!steady && field.Frames % kRestoreEvery == 0) RestoreCamera(field, gl);
  DrawStars(field, gl);
  return false;
}

void DrawField(const StarField& field, const GlApi& gl, double device_pixel_ratio, const Projection& cut,
               const float camera[16]) {
  Begin(field, gl, device_pixel_ratio, &cut);
  gl.LoadMatrixf(camera);
  DrawStars(field, gl);
}

}  // namespace lumox
