// The real program on its own X server, driven as a person would.
#include <gtest/gtest.h>

#include <cstdio>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

TEST(FlightE2E, TheFlightFillsTheScreenAndKeepsMoving) {
  Session lumox(1440, 900);
  const std::string window = lumox.Fly();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(lumox.Geometry(window), QRect(0, 0, 1440, 900));
  const QImage first = lumox.Screenshot();
  ASSERT_EQ(first.size(), QSize(1440, 900));
  // 21600 stars at the default size: plenty of coloured points on black, and they move.
  EXPECT_GT(LitPixels(first), 2000);
  EXPECT_LT(LitPixels(first), 1440 * 900 / 4);
  EXPECT_TRUE(WaitFor([&] { return DifferentPixels(first, lumox.Screenshot()) > 1000; }));
  EXPECT_TRUE(lumox.Running());
}

// The share of lit pixels over a few frames of a fresh flight, and the defaults written at quit.
struct Flight {
  double lit_share;
  std::string prefs;
};
Flight FlyAt(int width, int height, const char* prefs, std::vector<std::string> env, std::vector<std::string> args = {}) {
  Session lumox(SessionOptions{.width = width, .height = height, .prefs = prefs, .lumox_args = std::move(args), .env = std::move(env)});
  if (lumox.Fly().empty()) return {};
  double lit = 0;
  for (int i = 0; i < 4; ++i) lit += LitPixels(lumox.Screenshot());
  lumox.Quit();
  return {lit / 4 / (double(width) * height), lumox.Prefs()};
}

// At scale 2 a star covers four times the device pixels, so the flight looks as it does at
// scale 1 on a screen of the same logical size; the defaults still come from the logical width.
// Stars of 4 pixels keep the rasterizer from ruling the count: llvmpipe draws a smooth point of
// any size up to 2 as one of size 2 (3.13 lit pixels), so at the default 1.44 a star lights about
// twice its area at scale 1 and only its own area (6.5 pixels at 2.88) at scale 2. The shares at
// 1.44 are printed to be seen. With the frames-per-second readout the stars are sized the same.
TEST(FlightE2E, AtScaleTwoTheFlightLooksAsAtScaleOne) {
  const Flight plain = FlyAt(1440, 900, nullptr, {});
  const Flight doubled = FlyAt(2880, 1800, nullptr, {"QT_SCALE_FACTOR=2"});
  EXPECT_EQ(plain.prefs, "35\n0.0035\n170\n1.44\n21600\n");
  EXPECT_EQ(doubled.prefs, plain.prefs);
  const char* large = "35\n0.0035\n170\n4\n8000\n";
  const Flight plain_large = FlyAt(1440, 900, large, {});
  const Flight doubled_large = FlyAt(2880, 1800, large, {"QT_SCALE_FACTOR=2"});
  const Flight doubled_large_fps = FlyAt(2880, 1800, large, {"QT_SCALE_FACTOR=2"}, {"--fps"});
  std::printf("lit share at StarSize 1.44: scale 1 %.5f, scale 2 %.5f; at 4: %.5f, %.5f, with --fps %.5f\n",
              plain.lit_share, doubled.lit_share, plain_large.lit_share, doubled_large.lit_share, doubled_large_fps.lit_share);
  ASSERT_GT(plain_large.lit_share, 0.0);
  for (const double share : {doubled_large.lit_share, doubled_large_fps.lit_share}) {
    EXPECT_GT(share, plain_large.lit_share * 0.75);
    EXPECT_LT(share, plain_large.lit_share * 1.25);
  }
}

}  // namespace
}  // namespace lumox::e2e
