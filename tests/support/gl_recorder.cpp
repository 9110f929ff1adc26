#include "support/gl_recorder.h"

#include <algorithm>

namespace lumox::testing {
namespace {
GlRecorder* g_recorder = nullptr;
}

GlRecorder::GlRecorder() {
  calls_.reserve(2 * kStarUpperBound + 14);  // the largest frame
  g_recorder = this;
}

void GlRecorder::Record(std::string_view name, double a, double b, double c, double d) {
  g_recorder->calls_.push_back({name, {a, b, c, d}});
}

const GlApi& GlRecorder::Api() const {
  static const GlApi api{
      [](unsigned m) { Record("glMatrixMode", m); },
      [] { Record("glLoadIdentity"); },
      [](double a, double b, double c, double d) { Record("gluPerspective", a, b, c, d); },
      [](float a, float b, float c, float d) { Record("glClearColor", a, b, c, d); },
      [](unsigned m) { Record("glClear", m); },
      [](float s) { Record("glPointSize", s); },
      [](unsigned c) { Record("glEnable", c); },
      [](float x, float y, float z) { Record("glTranslatef", x, y, z); },
      [](float a, float x, float y, float z) { Record("glRotatef", a, x, y, z); },
      [](unsigned m) { Record("glBegin", m); },
      [](double r, double g, double b) { Record("glColor3d", r, g, b); },
      [](float x, float y, float z) { Record("glVertex3f", x, y, z); },
      [] { Record("glEnd"); },
      [](float m[16]) {
        Record("glGetFloatv");
        std::fill(m, m + 16, 0.0f);
        m[0] = m[5] = m[10] = m[15] = 1.0f;
      },
      [](float x, float y, float z) { Record("glScalef", x, y, z); },
  };
  return api;
}

const OverlayGlApi& GlRecorder::OverlayApi() const {
  static const OverlayGlApi api{
      [](unsigned mask) { Record("glPushAttrib", mask); },
      [] { Record("glPopAttrib"); },
      [](unsigned cap) { Record("glEnable", cap); },
      [](unsigned s, unsigned d) { Record("glBlendFunc", s, d); },
      [](int x, int y) { Record("glWindowPos2i", x, y); },
      [](int w, int h, unsigned format, unsigned type, const void*) { Record("glDrawPixels", w, h, format, type); },
  };
  return api;
}

}  // namespace lumox::testing
