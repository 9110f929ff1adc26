// Frames rendered by Mesa into the real display window, read back and looked at.
#include <gtest/gtest.h>

#include <QImage>

#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

TEST(GlSurface, StarsAreDrawnAnEmptyFieldIsBlackAndTheCameraMatrixAccumulates) {
  SurfaceWindow* w = SurfaceWindow::Instance();
  w->Timer1()->stop();  // frames only when the test asks for them
  ASSERT_TRUE(testing::RunUntil([&] { return w->Surface()->isExposed(); }));
  ShadeStars(*w);
  const QImage stars = w->RenderAndCapture();
  EXPECT_GT(testing::LitPixels(stars), 500);
  w->StarMax = 0;
  EXPECT_EQ(testing::LitPixels(w->RenderAndCapture(), 0), 0);

  // One white star 3.6 ahead, off the axis: beyond the far plane until the camera has travelled
  // more than 0.6, and drawn further from the centre as it comes nearer.
  w->StarMax = 1;
  w->Rotn = 0;
  w->Speed = 0.25f;
  w->StarSize = 4.0f;
  w->Star[1] = {.x = 0.3f, .z = w->CameraZ - 3.6f, .cred = 1.0f, .cgreen = 1.0f, .cblue = 1.0f};
  std::vector<int> lit;
  std::vector<double> distance;
  for (int frame = 0; frame < 6; ++frame) {
    const QImage image = w->RenderAndCapture().convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x)
        if (qRed(image.pixel(x, y)) > 100) sum += x, ++count;
    lit.push_back(count);
    distance.push_back(count ? sum / count - image.width() / 2.0 : 0.0);
  }
  EXPECT_EQ(lit[0] + lit[1], 0);  // depths 3.35 and 3.1
  EXPECT_GT(lit[2], 0);           // depth 2.85
  EXPECT_GT(lit[5], 0);           // depth 2.1
  EXPECT_GT(distance[3], distance[2]);
  EXPECT_GT(distance[5], distance[4]);
}

}  // namespace
}  // namespace lumox
