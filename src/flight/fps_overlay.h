#pragma once
// The frames-per-second readout without Qt: the meter that counts frames and CPU time, and the
// GL calls that lay a finished picture over a finished frame. The readout comes after every
// call of the frame and gives back all GL state it changes, so the frame and the camera (the
// modelview matrix) are the same with or without it.
#include <string>

#include "flight/gl_api.h"
#include "flight/view_cut.h"
#include "starfield/star_field.h"

namespace lumox {

namespace gl {
inline constexpr unsigned kCurrentBit = 0x0001;
inline constexpr unsigned kBlend = 0x0BE2;
inline constexpr unsigned kOne = 0x0001;
inline constexpr unsigned kOneMinusSrcAlpha = 0x0303;
inline constexpr unsigned kRgba = 0x1908;
inline constexpr unsigned kUnsignedByte = 0x1401;
}  // namespace gl

// The calls the readout makes, apart from the frame's table so that table stays as it is.
struct OverlayGlApi {
  void (*PushAttrib)(unsigned mask);
  void (*PopAttrib)();
  void (*Enable)(unsigned cap);
  void (*BlendFunc)(unsigned source, unsigned destination);
  void (*WindowPos2i)(int x, int y);
  void (*DrawPixels)(int width, int height, unsigned format, unsigned type, const void* pixels);
};

// The table that calls Mesa; defined in the GL layer.
const OverlayGlApi& MesaOverlayGl();

// RGBA bytes with premultiplied alpha, rows from the bottom up as glDrawPixels reads them.
struct OverlayPicture {
  int width = 0;
  int height = 0;
  const void* pixels = nullptr;  // none: nothing to draw
};

// Distance of the readout from the window's lower left corner, in pixels.
inline constexpr int kReadoutMargin = 8;

// Blends the picture in with its lower left corner at window pixel (x, y).
void DrawOverlay(const OverlayPicture& picture, int x, int y, const OverlayGlApi& gl);

// A frame with the readout in the lower left corner over it; the frame's stars are sized for
// `device_pixel_ratio` as without the readout.
bool RenderWithReadout(StarField& field, const GlApi& gl, const OverlayPicture& readout, const OverlayGlApi& overlay_gl,
                       double device_pixel_ratio = 1.0, const Projection* cut = nullptr);

struct FpsReading {
  double fps = 0.0;
  double cpu_percent = -1.0;  // of one core, all threads together; below 0 when unknown
};

// Counts frames, and once a second tells how many came per second and how much CPU time the
// process used meanwhile. Times are seconds on any steady clock.
class FpsMeter {
 public:
  bool Started() const { return started_; }
  void Start(double now, double cpu_seconds);
  // Counts a frame drawn at `now`. True when a second or more has passed since the current
  // second began: TakeReading is due.
  bool Frame(double now);
  // The reading over the second that ends at `now`, which begins the next one.
  FpsReading TakeReading(double now, double cpu_seconds);

 private:
  bool started_ = false;
  double start_ = 0.0;
  double cpu_start_ = 0.0;
  long long frames_ = 0;
};

// The readout's text, e.g. "33 fps  CPU 41%".
std::string FpsText(const FpsReading& reading);

}  // namespace lumox
