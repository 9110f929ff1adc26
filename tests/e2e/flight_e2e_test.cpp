// The real program on its own X server, driven as a person would.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace lumox::e2e
