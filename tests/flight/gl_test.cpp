// The GL surface: a star flown towards, a span's parts, the readout and its picture; a pause and resume.
#include <GL/gl.h>
#include <GL/glu.h>

#include <gtest/gtest.h>

#include <QImage>
#include <algorithm>
#include <cstring>
#include <vector>

#include "display/surface_window.h"
#include "flight/fps_readout.h"
#include "flight/frame.h"
#include "support/pixels.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

// The display window on screen, drawing frames only when the test asks for them.
SurfaceWindow* StillWindow() {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Timer1()->stop();
  EXPECT_TRUE(RunUntil([&] { return w->Surface()->isExposed(); }));
  return w;
}

// One white star 3.6 ahead, off the axis: seen once 0.6 nearer, then further out as it nears.
TEST(GlSurface, AStarComesIntoViewAndMovesOutwardAsTheCameraFlies) {
  SurfaceWindow* w = StillWindow();
  w->StarMax = 1;
  w->Rotn = 0;
  w->Speed = 0.25f;
  w->StarSize = 4.0f;
  w->Star[1] = {.x = 0.3f, .z = w->CameraZ - 3.6f, .cred = 1.0f, .cgreen = 1.0f, .cblue = 1.0f};
  int lit[6];
  double distance[6];
  for (int frame = 0; frame < 6; ++frame) {
    const QImage image = w->RenderAndCapture().convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    lit[frame] = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x)
        if (qRed(image.pixel(x, y)) > 100) sum += x, ++lit[frame];
    distance[frame] = lit[frame] ? sum / lit[frame] - image.width() / 2.0 : 0.0;
  }
  EXPECT_EQ(lit[0] + lit[1], 0);  // depths 3.35 and 3.1
  EXPECT_GT(lit[2], 0);           // depth 2.85
  EXPECT_GT(lit[5], 0);           // depth 2.1
  EXPECT_TRUE(distance[3] > distance[2] && distance[5] > distance[4]);
}

// An output as large as a span's box shows a flight of its own, wherever the box stands.
TEST(GlSurface, TheCutOfTheWholeIsGluPerspectivesMatrix) {
  StillWindow()->RenderAndCapture();  // leaves the surface's context current
  float glu[16], cut[16];
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(kFovy, kAspect, kNear, kFar);
  glGetFloatv(GL_PROJECTION_MATRIX, glu);
  for (const ViewRect& box : {ViewRect{0, 0, 1920, 1080}, ViewRect{-1280, 56, 4480, 1068}}) {
    glLoadMatrixd(CutPerspective(box, box).data());
    glGetFloatv(GL_PROJECTION_MATRIX, cut);
    EXPECT_EQ(std::memcmp(glu, cut, sizeof glu), 0) << box.x;
  }
}

TEST(FpsReadout, ItIsBlendedOverTheFrameAndGivesItsGlStateBack) {
  StillWindow()->RenderAndCapture();
  glClearColor(1, 1, 1, 1);  // over white the readout's box shows whether it was blended
  glClear(GL_COLOR_BUFFER_BIT);
  const QImage picture = ReadoutPicture(QStringLiteral("30 fps  CPU 25%")).mirrored();
  DrawOverlay({picture.width(), picture.height(), picture.constBits()}, 20, 30, MesaOverlayGl());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  GLint depth = -1;
  glGetIntegerv(GL_ATTRIB_STACK_DEPTH, &depth);
  EXPECT_TRUE(depth == 0 && !glIsEnabled(GL_BLEND));
  GLubyte box[4] = {};
  glReadPixels(22, 30 + picture.height() / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, box);
  EXPECT_NEAR(box[0], 255 - 160, 2);  // white under black of alpha 160, left of the text
}

// One output of a span: a corner of the window's surface, read back at each swap; with no surface, a covered one.
struct Corner : DrawTarget {
  Corner(OpenGLSurface* surface, QSize size, double ratio = 1.0) : surface(surface), size(size), ratio(ratio) {}
  bool MakeCurrent() override { return surface && surface->MakeCurrent(); }
  int DeviceWidth() const override { return size.width(); }
  int DeviceHeight() const override { return size.height(); }
  double PixelRatio() const override { return ratio; }
  void Swap() override {
    picture = QImage(size, QImage::Format_RGBA8888);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, picture.bits());
    picture = picture.mirrored().convertToFormat(QImage::Format_RGB32);
  }
  OpenGLSurface* surface;
  QSize size;
  double ratio;
  QImage picture;
};

// The box's picture with its perspective moved by a 64th of a pixel each way. A pixel that
// stays the same in all of them lies clear of every star's edge; another matrix may round a
// star's centre differently by far less, so such a pixel must come out exactly the same.
std::vector<QImage> Nudged(Flight& flight, OpenGLSurface* surface, const ViewRect& box, double ratio) {
  float camera[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, camera);
  std::vector<QImage> pictures;
  for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
    Projection cut = CutPerspective(box, box);
    cut[8] += 2.0 * dx / 64 / static_cast<double>(box.width);
    cut[9] += 2.0 * dy / 64 / static_cast<double>(box.height);
    Corner nudged(surface, QSize(int(box.width), int(box.height)));
    glViewport(0, 0, int(box.width), int(box.height));
    DrawField(flight, MesaGl(), ratio, cut, camera);
    nudged.Swap();
    pictures.push_back(nudged.picture);
  }
  return pictures;
}

// Pixels of `part`, at (x0, y0) in the box, unlike the whole's where no nudge moves an edge.
int Unlike(const QImage& part, int x0, int y0, const QImage& whole, const std::vector<QImage>& nudged) {
  int unlike = 0;
  for (int y = 0; y < part.height(); ++y)
    for (int x = 0; x < part.width(); ++x) {
      const QRgb pixel = whole.pixel(x0 + x, y0 + y);
      const bool settled =
          std::all_of(nudged.begin(), nudged.end(), [&](const QImage& n) { return n.pixel(x0 + x, y0 + y) == pixel; });
      unlike += settled && part.pixel(x, y) != pixel;
    }
  return unlike;
}

// Two outputs in a row, and two of different sizes, the smaller lower, at the foot of the box: its
// view grows at the top alone, which GL counts from the bottom. Then at a pixel ratio of 2 with
// a device pixel to each unit of the layout, as in GNOME's physical layout: stars twice as large.
TEST(GlSurface, EachOutputOfASpanShowsItsPartOfTheBoxsPicture) {
  SurfaceWindow* w = StillWindow();
  // A camera that stands still: every view sees the same field from the same place.
  w->TakeOff({.Rotn = 0, .Speed = 0.0f, .StarSize = 8.0f, .StarMax = 50000});
  w->Timer1()->stop();
  const ViewRect box{0, 0, 320, 180};
  for (const double ratio : {1.0, 2.0}) {
    Corner whole(w->Surface(), {320, 180}, ratio);
    w->SetViews({{&whole, box, box}});
    w->Render();
    ASSERT_GT(testing::LitPixels(whole.picture), 200);
    const std::vector<QImage> nudged = Nudged(*w, w->Surface(), box, ratio);
    // The nudges move edges, yet leave all but a few pixels to be checked exactly.
    const int edges = Unlike(nudged[0], 0, 0, whole.picture, {}) + Unlike(nudged[2], 0, 0, whole.picture, {});
    ASSERT_TRUE(edges > 0 && edges < 320 * 180 / 20) << edges;
    for (const auto& [a, b] : {std::pair{ViewRect{0, 0, 160, 180}, ViewRect{160, 0, 160, 180}},
                               {ViewRect{0, 0, 200, 180}, ViewRect{200, 60, 120, 120}}}) {
      Corner one(w->Surface(), QSize(int(a.width), int(a.height)), ratio);
      Corner two(w->Surface(), QSize(int(b.width), int(b.height)), ratio);
      w->SetViews({{&one, a, box}, {&two, b, box}});
      w->Render();
      for (const auto& [corner, part] : {std::pair{&one, a}, {&two, b}})
        EXPECT_EQ(Unlike(corner->picture, int(part.x), int(part.y), whole.picture, nudged), 0)
            << ratio << ": " << part.x << "," << part.y;
    }
  }
  w->SetViews({});
}

// Nothing wakes a paused process; a resumed one recycles again (unswept, a field goes black in 90 s).
TEST(Flight, APauseStopsBothTimersAndAResumeStartsBoth) {
  Corner target(nullptr, {800, 600});
  Flight flight;
  flight.SetTarget(&target);
  flight.Pause();
  EXPECT_FALSE(flight.Paused());  // nothing to pause before take-off
  for (const auto& [speed, stars] : {std::pair{0.1f, int64_t{50000}}, {0.0035f, int64_t{20000}}}) {
    flight.TakeOff({.Speed = speed, .StarMax = stars});
    const int64_t period = flight.Timer2()->Period();
    ASSERT_EQ(period, Timer2Period(stars, speed));
    flight.Pause();
    EXPECT_TRUE(flight.Paused() && !flight.Timer1()->isActive());
    EXPECT_EQ(flight.Timer2()->Period(), -1) << speed;  // stopped, even at a period of 0
    flight.Resume();
    EXPECT_TRUE(!flight.Paused() && flight.Timer1()->isActive());
    EXPECT_EQ(flight.Timer2()->Period(), period) << speed;
  }
}

// GL draws a picture bottom row first: the readout's rows come so, and its text stands upright.
TEST(FpsReadout, ItsPictureIsTheTextWithItsBottomRowFirst) {
  FpsReadout readout;
  OverlayPicture picture;
  ASSERT_TRUE(RunUntil([&] { return (picture = readout.Frame()).pixels != nullptr; }, 5000));
  const auto upright = [](const OverlayPicture& p) {
    return QImage(static_cast<const uchar*>(p.pixels), p.width, p.height, QImage::Format_RGBA8888_Premultiplied).mirrored();
  };
  EXPECT_EQ(upright(picture), ReadoutPicture(readout.Text()));
  const OverlayPicture twice = readout.Frame(2.0);  // on an output of scale 2: twice the size, at once
  EXPECT_EQ(upright(twice), ReadoutPicture(readout.Text(), 2.0));
  EXPECT_NEAR(twice.height, 2 * picture.height, 2);
  EXPECT_NEAR(twice.width, 2 * picture.width, 6);
}

}  // namespace
}  // namespace lumox
