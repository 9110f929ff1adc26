#include "display/frame.h"

#include <gtest/gtest.h>

#include "display/fps_overlay.h"
#include "support/gl_recorder.h"
#include "support/scripted_numbers.h"

namespace lumox {
namespace {

using testing::GlCall;
using testing::GlRecorder;

GlCall Call(const char* name, double a = 0, double b = 0, double c = 0, double d = 0) {
  return GlCall{name, {a, b, c, d}};
}

TEST(Frame, IssuesTheFrameTableInOrder) {
  StarField field;
  field.StarMax = 2;
  field.Speed = 0.25f;
  field.StarSize = 1.44f;
  field.CameraZ = -1.0f;
  field.Star[1] = {.x = 0.5f, .y = -0.5f, .z = -2.0f, .cred = 0.1f, .cgreen = 0.2f, .cblue = 1.5f};
  field.Star[2] = {.x = -1.0f, .y = 2.0f, .z = -3.5f, .cred = -0.3f, .cgreen = 0.0f, .cblue = 0.7f};
  field.Star[3] = {.x = 9.0f, .y = 9.0f, .z = -1.0f, .cred = 1.0f};  // not live
  GlRecorder recorder;

  EXPECT_FALSE(Surface_Render(field, recorder.Api()));

  const float angle = testing::FromBits(0xBD0F5C29);  // the single nearest -0.035, from the default Rotn 35
  const std::vector<GlCall> expected = {
      Call("glMatrixMode", 0x1701), Call("glLoadIdentity"), Call("gluPerspective", 55.0, 2.0, 0.001, 3.0),
      Call("glMatrixMode", 0x1700), Call("glClearColor", 0.0, 0.0, 0.0, 1.0), Call("glClear", 0x4000),
      Call("glPointSize", 1.44f), Call("glEnable", 0x0B10), Call("glTranslatef", 0.0, 0.0, 0.25),
      Call("glRotatef", angle, 0.0, 0.0, 1.0), Call("glBegin", 0),
      Call("glColor3d", 0.1f, 0.2f, 1.5f), Call("glVertex3f", 0.5, -0.5, -2.0),
      Call("glColor3d", -0.3f, 0.0, 0.7f), Call("glVertex3f", -1.0, 2.0, -3.5),
      Call("glVertex3f", 1.0, 1.0, 0.0), Call("glVertex3f", -1.0, -1.0, 0.0), Call("glEnd"),
  };
  EXPECT_EQ(recorder.Calls(), expected);
  EXPECT_EQ(field.CameraZ, -1.25f);
}

TEST(Frame, AnEmptyFieldStillMovesTheCameraAndAFullOneDrawsAllStars) {
  StarField field{.Speed = 0.5f};
  GlRecorder recorder;
  Surface_Render(field, recorder.Api());
  EXPECT_EQ(recorder.Calls().size(), 14u);
  EXPECT_EQ(field.CameraZ, -0.5f);
  field.StarMax = 50000;
  Surface_Render(field, recorder.Api());
  EXPECT_EQ(recorder.Calls().size(), 14u + 14u + 2u * 50000u);
}

// On a HiDPI screen GL sizes points in device pixels: the size sent is StarSize times the
// window's ratio, under the frames-per-second readout too, and nothing else in the frame changes.
// At ratio 1 the calls are those above.
TEST(Frame, PointSizeFollowsTheDevicePixelRatio) {
  const unsigned char pixels[3 * 2 * 4] = {};
  auto frame = [&](double ratio, bool readout) {
    StarField field{.StarMax = 3, .StarSize = 1.44f};
    GlRecorder recorder;
    if (readout) RenderWithReadout(field, recorder.Api(), {3, 2, pixels}, recorder.OverlayApi(), ratio);
    else Surface_Render(field, recorder.Api(), ratio);
    return recorder.Calls();
  };
  for (const bool readout : {false, true}) {
    const std::vector<GlCall> plain = frame(1.0, readout);
    EXPECT_EQ(plain[6], Call("glPointSize", 1.44f));
    for (const auto& [ratio, bits] : {std::pair{2.0, 0x403851ECu}, {1.5, 0x400A3D71u}, {1.25, 0x3FE66667u}}) {
      std::vector<GlCall> calls = frame(ratio, readout);
      ASSERT_EQ(calls.size(), plain.size());
      EXPECT_EQ(testing::Bits(static_cast<float>(calls[6].args[0])), bits) << ratio << " " << readout;
      calls[6] = plain[6];
      EXPECT_EQ(calls, plain) << ratio << " " << readout;
    }
  }
}

}  // namespace
}  // namespace lumox
