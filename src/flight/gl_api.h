#pragma once
// The fixed-function GL calls a frame makes, as a table of plain function pointers. The program
// fills it with Mesa's entry points; tests fill it with recorders. No GL header is needed here:
// the types are GL's own on every platform we build for.
#include <cstdint>

namespace lumox {

namespace gl {
inline constexpr unsigned kModelview = 0x1700;
inline constexpr unsigned kProjection = 0x1701;
inline constexpr unsigned kColorBufferBit = 0x4000;
inline constexpr unsigned kPointSmooth = 0x0B10;
inline constexpr unsigned kPoints = 0x0000;
}  // namespace gl

struct GlApi {
  void (*MatrixMode)(unsigned mode);
  void (*LoadIdentity)();
  void (*Perspective)(double fovy, double aspect, double z_near, double z_far);
  void (*ClearColor)(float r, float g, float b, float a);
  void (*Clear)(unsigned mask);
  void (*PointSize)(float size);
  void (*Enable)(unsigned cap);
  void (*Translatef)(float x, float y, float z);
  void (*Rotatef)(float angle, float x, float y, float z);
  void (*Begin)(unsigned mode);
  void (*Color3d)(double r, double g, double b);
  void (*Vertex3f)(float x, float y, float z);
  void (*End)();
  // Only a flight left on for hours uses these: reading the camera back and scaling it.
  void (*GetModelview)(float matrix[16]);
  void (*Scalef)(float x, float y, float z);
  // Only a flight across several outputs uses these: a cut perspective, and the camera given to
  // the outputs that draw the field without moving it.
  void (*LoadMatrixd)(const double matrix[16]);
  void (*LoadMatrixf)(const float matrix[16]);
};

// The table that calls Mesa; defined in the GL layer.
const GlApi& MesaGl();

}  // namespace lumox
