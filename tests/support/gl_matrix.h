#pragma once
// A GL table that keeps the modelview matrix as Mesa does, in single precision, with Mesa's order
// of operations for a translation along z and a turn about z (what the frame asks for), and drops
// every other call. A long flight's matrix runs in seconds on it, with no context.
#include <algorithm>
#include <cmath>

#include "flight/gl_api.h"

namespace lumox::testing {

struct MesaMatrix {
  float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  // column by column
  bool modelview = false;
  float Scale(int column) const { return std::hypot(m[4 * column], m[4 * column + 1]); }
};

inline MesaMatrix g_mesa_matrix;

inline const GlApi& MesaMatrixApi() {
  static const GlApi api{
      [](unsigned mode) { g_mesa_matrix.modelview = mode == gl::kModelview; },
      [] {
        if (g_mesa_matrix.modelview) g_mesa_matrix = MesaMatrix{.modelview = true};
      },
      [](double, double, double, double) {}, [](float, float, float, float) {}, [](unsigned) {}, [](float) {},
      [](unsigned) {},
      [](float, float, float z) {
        float* m = g_mesa_matrix.m;
        for (int i = 12; i < 16; ++i) m[i] = m[i - 12] * 0.0f + m[i - 8] * 0.0f + m[i - 4] * z + m[i];
      },
      [](float angle, float, float, float) {
        const float s = std::sin(static_cast<float>(angle * M_PI / 180.0));
        const float c = std::cos(static_cast<float>(angle * M_PI / 180.0));
        float* m = g_mesa_matrix.m;
        for (int i = 0; i < 2; ++i) {
          const float a0 = m[i], a1 = m[4 + i];
          m[i] = a0 * c + a1 * s;
          m[4 + i] = a0 * -s + a1 * c;
        }
      },
      [](unsigned) {}, [](double, double, double) {}, [](float, float, float) {}, [] {},
      [](float m[16]) { std::copy(g_mesa_matrix.m, g_mesa_matrix.m + 16, m); },
      [](float x, float y, float) {
        for (int i = 0; i < 4; ++i) g_mesa_matrix.m[i] *= x, g_mesa_matrix.m[4 + i] *= y;
      },
      [](const double*) {},
      [](const float m[16]) {
        if (g_mesa_matrix.modelview) std::copy(m, m + 16, g_mesa_matrix.m);
      }};
  return api;
}

}  // namespace lumox::testing
