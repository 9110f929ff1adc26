#pragma once
// A GL table that records each call and its arguments into storage reserved up front, so
// recording a frame allocates nothing. Calls go to the recorder made last.
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "flight/fps_overlay.h"
#include "flight/gl_api.h"
#include "starfield/star_field.h"

namespace lumox::testing {

struct GlCall {
  std::string_view name;
  std::array<double, 4> args{};
  friend bool operator==(const GlCall&, const GlCall&) = default;
};

class GlRecorder {
 public:
  GlRecorder() {
    calls_.reserve(2 * kStarUpperBound + 14);  // the largest frame
    Current() = this;
  }
  const std::vector<GlCall>& Calls() const { return calls_; }
  void Clear() { calls_.clear(); }

  const GlApi& Api() const {
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
        [](const double m[16]) { Record("glLoadMatrixd", m[0], m[8], m[9], m[14]); },
        [](const float m[16]) { Record("glLoadMatrixf", m[0], m[8], m[9], m[14]); },
    };
    return api;
  }

  // The readout's calls, recorded into the same list.
  const OverlayGlApi& OverlayApi() const {
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

 private:
  static GlRecorder*& Current() {
    static GlRecorder* current = nullptr;
    return current;
  }
  static void Record(std::string_view name, double a = 0, double b = 0, double c = 0, double d = 0) {
    Current()->calls_.push_back({name, {a, b, c, d}});
  }
  std::vector<GlCall> calls_;
};

}  // namespace lumox::testing
