// The real program on its own X server, driven as a person would.
#include <gtest/gtest.h>

#include "e2e/x_session.h"

namespace lumox::e2e {
namespace {

TEST(FlightE2E, TheFlightFillsTheScreenAndKeepsMoving) {
  Session lumox(1440, 900);
  const std::string window = lumox.Fly(1500);
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(lumox.Geometry(window), QRect(0, 0, 1440, 900));
  const QImage first = lumox.Screenshot();
  SleepMs(500);
  ASSERT_EQ(first.size(), QSize(1440, 900));
  // 21600 stars at the default size: plenty of coloured points on black, and they move.
  EXPECT_GT(LitPixels(first), 2000);
  EXPECT_LT(LitPixels(first), 1440 * 900 / 4);
  EXPECT_GT(DifferentPixels(first, lumox.Screenshot()), 1000);
  // Still flying a few seconds on: the sweep keeps the field supplied.
  SleepMs(3000);
  EXPECT_GT(LitPixels(lumox.Screenshot()), 2000);
  EXPECT_TRUE(lumox.Running());
}

}  // namespace
}  // namespace lumox::e2e
