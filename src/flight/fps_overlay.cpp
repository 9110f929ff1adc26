#include "flight/fps_overlay.h"

#include <cmath>

#include <cstdio>

#include "flight/frame.h"

namespace lumox {

void DrawOverlay(const OverlayPicture& picture, int x, int y, const OverlayGlApi& gl) {
  if (!picture.pixels) return;
  // Blending and its function are colour-buffer state; the raster position is current state.
  gl.PushAttrib(gl::kColorBufferBit | gl::kCurrentBit);
  gl.Enable(gl::kBlend);
  gl.BlendFunc(gl::kOne, gl::kOneMinusSrcAlpha);
  gl.WindowPos2i(x, y);
  gl.DrawPixels(picture.width, picture.height, gl::kRgba, gl::kUnsignedByte, picture.pixels);
  gl.PopAttrib();
}

bool RenderWithReadout(StarField& field, const GlApi& gl, const OverlayPicture& readout, const OverlayGlApi& overlay_gl,
                       double device_pixel_ratio, const Projection* cut) {
  const bool result = Surface_Render(field, gl, device_pixel_ratio, cut);
  const int margin = static_cast<int>(std::lround(kReadoutMargin * device_pixel_ratio));
  DrawOverlay(readout, margin, margin, overlay_gl);
  return result;
}

void FpsMeter::Start(double now, double cpu_seconds) {
  started_ = true;
  start_ = now;
  cpu_start_ = cpu_seconds;
  frames_ = 0;
}

bool FpsMeter::Frame(double now) {
  ++frames_;
  return now - start_ >= 1.0;
}

FpsReading FpsMeter::TakeReading(double now, double cpu_seconds) {
  const double seconds = now - start_;
  FpsReading reading;
  reading.fps = static_cast<double>(frames_) / seconds;
  if (cpu_seconds >= 0.0 && cpu_start_ >= 0.0) reading.cpu_percent = 100.0 * (cpu_seconds - cpu_start_) / seconds;
  Start(now, cpu_seconds);
  return reading;
}

std::string FpsText(const FpsReading& reading) {
  char text[64];
  if (reading.cpu_percent < 0.0)
    std::snprintf(text, sizeof text, "%.0f fps", reading.fps);
  else
    std::snprintf(text, sizeof text, "%.0f fps  CPU %.0f%%", reading.fps, reading.cpu_percent);
  return text;
}

}  // namespace lumox
