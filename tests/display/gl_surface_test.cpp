// Frames rendered by Mesa into the real display window, read back and looked at.
#include <gtest/gtest.h>

#include <QImage>

#include "display/surface_window.h"
#include "support/ui_helpers.h"

namespace lumox {
namespace {

using testing::LitPixels;

class GlSurface : public ::testing::Test {
 protected:
  void SetUp() override {
    window = SurfaceWindow::Instance();
    window->Timer1()->stop();  // frames only when the test asks for them
    testing::RunUntil([&] { return window->Surface()->isExposed(); });
  }
  void TearDown() override { window->Timer1()->start(); }
  SurfaceWindow* window = nullptr;
};

TEST_F(GlSurface, StarsAreDrawnAndAnEmptyFieldIsBlack) {
  ShadeStars(*window);
  const QImage stars = window->Surface()->RenderAndCapture();
  ASSERT_FALSE(stars.isNull());
  EXPECT_EQ(stars.size(), window->Surface()->size() * window->Surface()->devicePixelRatio());
  EXPECT_GT(LitPixels(stars), 500);

  const int64_t star_max = window->StarMax;
  window->StarMax = 0;
  const QImage black = window->Surface()->RenderAndCapture();
  window->StarMax = star_max;
  EXPECT_EQ(LitPixels(black, 0), 0);
}

TEST_F(GlSurface, TheCameraMatrixAccumulatesFromFrameToFrame) {
  // One white star 3.6 ahead, off the axis: beyond the far plane until the camera has travelled
  // more than 0.6, and drawn further from the centre as it comes nearer.
  const StarField saved = *window;
  window->StarMax = 1;
  window->Rotn = 0;
  window->Speed = 0.25f;
  window->StarSize = 4.0f;
  window->Star[1] = StarData{};
  window->Star[1].x = 0.3f;
  window->Star[1].z = window->CameraZ - 3.6f;
  window->Star[1].cred = window->Star[1].cgreen = window->Star[1].cblue = 1.0f;

  std::vector<int> lit;
  std::vector<double> distance;
  for (int frame = 0; frame < 6; ++frame) {
    const QImage image = window->Surface()->RenderAndCapture().convertToFormat(QImage::Format_RGB32);
    lit.push_back(LitPixels(image, 100));
    double sum = 0;
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x)
        if (qRed(image.pixel(x, y)) > 100) sum += x, ++count;
    distance.push_back(count ? sum / count - image.width() / 2.0 : 0.0);
  }
  const float camera_z = window->CameraZ;  // the matrix has moved on; CameraZ stays with it
  static_cast<StarField&>(*window) = saved;
  window->CameraZ = camera_z;

  EXPECT_EQ(lit[0], 0);  // depth 3.35
  EXPECT_EQ(lit[1], 0);  // depth 3.1
  EXPECT_GT(lit[2], 0);  // depth 2.85
  EXPECT_GT(lit[5], 0);  // depth 2.1
  EXPECT_GT(distance[3], distance[2]);
  EXPECT_GT(distance[5], distance[4]);
}

}  // namespace
}  // namespace lumox
