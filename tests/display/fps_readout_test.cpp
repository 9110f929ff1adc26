// The frames-per-second readout drawn by Mesa over the real display window's frames.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QOpenGLContext>
#include <array>

#include "display/flight_options.h"
#include "display/fps_readout.h"
#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

// Pixels whose green stands well above red and blue: the readout's, as no star has such a colour.
QRect GreenBounds(const QImage& frame, int* count) {
  const QImage image = frame.convertToFormat(QImage::Format_RGB32);
  QRect bounds;
  *count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const QRgb p = image.pixel(x, y);
      if (qGreen(p) - std::max(qRed(p), qBlue(p)) < 60) continue;
      ++*count;
      bounds |= QRect(x, y, 1, 1);
    }
  return bounds;
}

struct GlState {
  std::array<GLfloat, 16> modelview{}, projection{}, raster{};
  GLint matrix_mode = 0, blend_source = 0, blend_destination = 0, attrib_depth = 0;
  GLboolean blend = GL_FALSE;
  bool operator==(const GlState&) const = default;
};

GlState ReadGlState() {
  GlState s;
  glGetFloatv(GL_MODELVIEW_MATRIX, s.modelview.data());
  glGetFloatv(GL_PROJECTION_MATRIX, s.projection.data());
  glGetFloatv(GL_CURRENT_RASTER_POSITION, s.raster.data());
  glGetIntegerv(GL_MATRIX_MODE, &s.matrix_mode);
  glGetIntegerv(GL_BLEND_SRC, &s.blend_source);
  glGetIntegerv(GL_BLEND_DST, &s.blend_destination);
  glGetIntegerv(GL_ATTRIB_STACK_DEPTH, &s.attrib_depth);
  s.blend = glIsEnabled(GL_BLEND);
  return s;
}

TEST(FpsReadout, ItIsDrawnInTheLowerLeftOverTheFrameAndLeavesTheGlStateAsItWas) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Timer1()->stop();  // frames only when the test asks for them
  ASSERT_TRUE(testing::RunUntil([&] { return w->Surface()->isExposed(); }));
  w->StarMax = 0;  // a black frame: anything lit is the readout
  int green = 0;
  EXPECT_EQ(testing::LitPixels(w->Surface()->RenderAndCapture(), 0), 0);

  SetFpsShown(true);
  QImage frame;
  // The first reading comes a second after the first frame with the readout.
  ASSERT_TRUE(testing::RunUntil([&] {
    frame = w->Surface()->RenderAndCapture();
    return GreenBounds(frame, &green), green > 100;
  }));
  const QRect bounds = GreenBounds(frame, &green);
  EXPECT_TRUE(QRect(0, frame.height() - 40, 250, 40).contains(bounds)) << bounds.x() << "," << bounds.y();
  EXPECT_EQ(testing::LitPixels(frame.copy(0, 0, frame.width(), frame.height() - 40), 0), 0);

  // Laid over what is there with the frame's context current: matrices, blending, raster
  // position and the attribute stack are as they were.
  SetFpsShown(false);
  w->Surface()->RenderAndCapture();  // makes the surface's context current and leaves it so
  ASSERT_NE(QOpenGLContext::currentContext(), nullptr);
  const GlState before = ReadGlState();
  EXPECT_EQ(before.blend, GL_FALSE);
  const QImage picture = ReadoutPicture(QStringLiteral("30 fps  CPU 25%")).mirrored();
  DrawOverlay({picture.width(), picture.height(), picture.constBits()}, 20, 30, MesaOverlayGl());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  EXPECT_TRUE(ReadGlState() == before);
}

}  // namespace
}  // namespace lumox
