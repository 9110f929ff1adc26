#include "desktop/wayland/surface_scale.h"

#include <gtest/gtest.h>

namespace lumox {
namespace {

TEST(SurfaceScale, TheBufferIsTheSurfaceAtTheScaleRoundedHalfAwayFromZero) {
  EXPECT_EQ(BufferLength(1280, 180), 1920);  // 1.5
  EXPECT_EQ(BufferLength(720, 180), 1080);
  EXPECT_EQ(BufferLength(1536, 150), 1920);  // 1.25
  EXPECT_EQ(BufferLength(1279, 180), 1919);
  EXPECT_EQ(BufferLength(1, 179), 1);
  // 50 at 1.15 is 57.5, where the product in doubles comes out just under the half.
  EXPECT_EQ(BufferLength(50, 138), 58);
  EXPECT_EQ(BufferLength(49, 138), 56);
  EXPECT_EQ(ScaleRatio(180), 1.5);
  EXPECT_EQ(ScaleRatio(150), 1.25);
}

TEST(SurfaceScale, AWholeScaleIsTheSameNumber) {
  EXPECT_EQ(BufferLength(800, WholeScale(2)), 1600);
  EXPECT_EQ(ScaleRatio(WholeScale(3)), 3.0);
  EXPECT_EQ(WholeScale(0), kScaleOne);  // a compositor's 0 draws as scale 1
  EXPECT_EQ(BufferLength(1024, kScaleOne), 1024);
}

}  // namespace
}  // namespace lumox
