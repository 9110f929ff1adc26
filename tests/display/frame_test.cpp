#include "display/frame.h"

#include <gtest/gtest.h>

#include <cstring>

#include "display/fps_overlay.h"
#include "support/gl_matrix.h"
#include "support/gl_recorder.h"
#include "support/scripted_numbers.h"

namespace lumox {
namespace {

using testing::g_mesa_matrix;
using testing::GlCall;
using testing::GlRecorder;
using testing::MesaMatrix;
using testing::MesaMatrixApi;

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

// Where GL puts a star in eye space, as it computes it.
std::array<float, 3> Eye(const MesaMatrix& mm, const StarData& s) {
  const float* m = mm.m;
  std::array<float, 3> eye;
  for (int i = 0; i < 3; ++i) eye[i] = m[i] * s.x + m[4 + i] * s.y + m[8 + i] * s.z + m[12 + i];
  return eye;
}

// The first hour's frames make today's calls only; the first frame after it takes 256 from the
// depth of the camera, of the matrix and of every star, and each star stays where GL showed it.
TEST(Frame, TheFirstHourIsFlownAsEverAndTheRebaseAfterItMovesNoStar) {
  StarField field{.StarMax = 3};
  const float angle = static_cast<float>(static_cast<double>(field.Rotn) / -1000.0);
  float camera = 0.0f;
  MesaMatrix hour;
  g_mesa_matrix = {};
  for (int64_t frame = 1; frame <= kSteadyFrames + 1; ++frame) {  // the calls as they always were
    hour = g_mesa_matrix;
    MesaMatrixApi().Translatef(0.0f, 0.0f, field.Speed);
    MesaMatrixApi().Rotatef(angle, 0.0f, 0.0f, 1.0f);
    camera = camera - field.Speed;
  }
  const MesaMatrix plain = g_mesa_matrix;
  g_mesa_matrix = {};
  for (int64_t frame = 1; frame <= kSteadyFrames; ++frame) Surface_Render(field, MesaMatrixApi());
  EXPECT_EQ(std::memcmp(g_mesa_matrix.m, hour.m, sizeof hour.m), 0);
  EXPECT_EQ(testing::Bits(field.CameraZ), testing::Bits(camera + field.Speed));
  field.Star[1] = {.x = 0.75f, .y = -2.25f, .z = camera - 0.5f};
  field.Star[2] = {.x = -2.5f, .y = 1.0f, .z = camera - 2.75f};
  field.Star[3] = {.x = 0.1f, .y = 2.4f, .z = camera - 9.9f};
  const std::vector<StarData> stars = field.Star;

  StarField copy = field;
  GlRecorder recorder;
  Surface_Render(copy, recorder.Api());
  EXPECT_EQ(recorder.Calls()[9], Call("glTranslatef", 0.0, 0.0, -256.0));
  EXPECT_EQ(recorder.Calls()[10].name, "glRotatef");
  Surface_Render(field, MesaMatrixApi());
  EXPECT_EQ(field.CameraZ, camera + 256.0f);
  EXPECT_EQ(testing::Bits(g_mesa_matrix.m[14]), testing::Bits(-field.CameraZ));
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(field.Star[i].z, stars[i].z + 256.0f);
    EXPECT_EQ(Eye(g_mesa_matrix, field.Star[i]), Eye(plain, stars[i])) << i;
  }
}

// Thirty days of frames (Rotn 100 turns Mesa's matrix down to a tenth of its scale in that time):
// the camera still steps by its Speed, the matrix still shadows it and the picture keeps its scale.
TEST(Frame, AFlightOfThirtyDaysKeepsItsStepAndItsScale) {
  struct Half {
    double Number() { return 0.5; }
  } half;
  StarField field{.StarMax = 4, .Rotn = 100};
  g_mesa_matrix = {};
  const int64_t days30 = 30LL * 24 * 3600 * 1000 / 30;
  float least = 1.0f, most = 0.0f, jump = 0.0f;
  for (int64_t frame = 1; frame <= days30; ++frame) {
    const float before = field.CameraZ, scale = g_mesa_matrix.Scale(0);
    Surface_Render(field, MesaMatrixApi());
    jump = std::max(jump, std::abs(g_mesa_matrix.Scale(0) - scale));
    if (frame % 100 == 0) RecycleStars(field, half);
    if (frame > days30 - 100000 && field.CameraZ <= before) {  // not a rebase
      least = std::min(least, before - field.CameraZ);
      most = std::max(most, before - field.CameraZ);
    }
  }
  EXPECT_GT(least, 0.9f * field.Speed);
  EXPECT_LT(most, 1.1f * field.Speed);
  EXPECT_EQ(testing::Bits(g_mesa_matrix.m[14]), testing::Bits(-field.CameraZ));
  EXPECT_NEAR(g_mesa_matrix.Scale(0), 1.0, 0.001);
  EXPECT_NEAR(g_mesa_matrix.Scale(1), 1.0, 0.001);
  EXPECT_LT(jump, 2e-4f);  // no frame moves a star 1000 pixels out by more than a fifth of a pixel
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
