// Measures how the modelview matrix of a real GL (Mesa) drifts over a long flight: the frames'
// translation and rotation calls alone, on a small offscreen context, with the matrix read back.
//   matrix_drift [frames [rotn [--frame]]]
// prints, every tenth of the run (a frame before the frame code would make the matrix again), the frame count, the x and y column lengths of the matrix's
// rotation part (1 when it is a pure rotation), and its z translation beside the camera's depth.
// With --frame the whole frame code runs instead (re-basing and all), its drawing calls dropped.
#include <GL/gl.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "flight/frame.h"

namespace {

// The turn's mismatch is the matrix's angle less the sum of the frames' angles, in degrees.
void Report(long long frame, const lumox::StarField& field) {
  float m[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, m);
  double mismatch = std::atan2(m[1], m[0]) * 180.0 / M_PI - field.Turned;
  mismatch -= 360.0 * std::round(mismatch / 360.0);
  std::printf("%11lld  x %.7f  y %.7f  turn mismatch %+.2e  z-translation %.6f  CameraZ %.6f\n", frame,
              std::hypot(m[0], m[1]), std::hypot(m[4], m[5]), mismatch, m[14], field.CameraZ);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  const long long frames = argc > 1 ? std::atoll(argv[1]) : 86'400'000LL;  // 30 days at 30 ms
  const bool whole_frame = argc > 3 && std::strcmp(argv[3], "--frame") == 0;
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  if (!context.create() || !context.makeCurrent(&surface)) {
    std::fputs("matrix_drift: no GL context\n", stderr);
    return 1;
  }
  std::printf("%s, %s\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)),
              reinterpret_cast<const char*>(glGetString(GL_VERSION)));
  lumox::StarField field;  // the default Speed 0.0035, no live star
  if (argc > 2) field.Rotn = std::atoll(argv[2]);
  lumox::GlApi gl{};
  gl.MatrixMode = glMatrixMode;
  gl.LoadIdentity = glLoadIdentity;
  gl.Translatef = glTranslatef;
  gl.Rotatef = glRotatef;
  gl.Perspective = [](double, double, double, double) {};
  gl.ClearColor = [](float, float, float, float) {};
  gl.Clear = [](unsigned) {};
  gl.PointSize = [](float) {};
  gl.Enable = [](unsigned) {};
  gl.Begin = [](unsigned) {};
  gl.Color3d = [](double, double, double) {};
  gl.Vertex3f = [](float, float, float) {};
  gl.End = [] {};
  gl.GetModelview = [](float m[16]) { glGetFloatv(GL_MODELVIEW_MATRIX, m); };
  gl.Scalef = glScalef;
  glMatrixMode(GL_MODELVIEW);
  const float angle = static_cast<float>(static_cast<double>(field.Rotn) / -1000.0);
  for (long long frame = 1; frame <= frames; ++frame) {
    if (whole_frame) {
      lumox::Surface_Render(field, gl);
    } else {
      glTranslatef(0.0f, 0.0f, field.Speed);
      field.CameraZ = field.CameraZ - field.Speed;
      glRotatef(angle, 0.0f, 0.0f, 1.0f);
      field.Turned = std::fmod(field.Turned + angle, 360.0);
    }
    if ((frame + 1) % (frames / 10 > 0 ? frames / 10 : 1) == 0) Report(frame, field);
  }
  return 0;
}
