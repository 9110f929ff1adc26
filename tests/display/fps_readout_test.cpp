// The frames-per-second readout drawn by Mesa over the real display window's frame.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QOpenGLContext>
#include <array>

#include "display/fps_readout.h"
#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

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

// Where the readout stands on the screen is seen end to end (CliWindowE2E).
TEST(FpsReadout, ItIsBlendedOverTheFrameAndLeavesTheGlStateAsItWas) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Timer1()->stop();  // frames only when the test asks for them
  ASSERT_TRUE(testing::RunUntil([&] { return w->Surface()->isExposed(); }));
  // Laid over what is there with the frame's context current: matrices, blending, raster
  // position and the attribute stack are as they were.
  w->RenderAndCapture();  // makes the surface's context current and leaves it so
  ASSERT_NE(QOpenGLContext::currentContext(), nullptr);
  const GlState before = ReadGlState();
  EXPECT_EQ(before.blend, GL_FALSE);
  // Over white, so that the readout's box shows whether it was blended: a translucent black.
  glClearColor(1, 1, 1, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  const QImage picture = ReadoutPicture(QStringLiteral("30 fps  CPU 25%")).mirrored();
  DrawOverlay({picture.width(), picture.height(), picture.constBits()}, 20, 30, MesaOverlayGl());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  EXPECT_TRUE(ReadGlState() == before);
  GLubyte box[4] = {};
  glReadPixels(22, 30 + picture.height() / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, box);
  EXPECT_NEAR(box[0], 255 - 160, 2);  // white under black of alpha 160, left of the text
}

// GL draws pictures from the bottom row up: the readout's rows come in that order, so its text
// stands upright on the screen.
TEST(FpsReadout, ItsPictureIsTheTextWithItsBottomRowFirst) {
  FpsReadout readout;
  OverlayPicture picture;
  ASSERT_TRUE(testing::RunUntil([&] { return (picture = readout.Frame()).pixels != nullptr; }, 5000));
  const QImage upright = ReadoutPicture(readout.Text());
  const QImage given(static_cast<const uchar*>(picture.pixels), picture.width, picture.height,
                     QImage::Format_RGBA8888_Premultiplied);
  EXPECT_NE(given, upright);  // the text is not the same read either way up
  EXPECT_EQ(given.mirrored(), upright);
}

}  // namespace
}  // namespace lumox
