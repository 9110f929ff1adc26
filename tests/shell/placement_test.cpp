#include "shell/placement.h"

#include <gtest/gtest.h>

namespace lumox {
namespace {

TEST(Placement, AFrameIsMovedOntoTheAreaAsLittleAsPossibleAndKeepsItsStartWhenTooLong) {
  EXPECT_EQ(FitSpan(-20, 445, 0, 480), 0);      // title bar above the top
  EXPECT_EQ(FitSpan(100, 445, 0, 480), 35);     // bottom below the screen
  EXPECT_EQ(FitSpan(10, 445, 0, 480), 10);      // fits: left alone
  EXPECT_EQ(FitSpan(-50, 600, 24, 480), 24);    // longer than the area: its start on the area
  EXPECT_EQ(FitSpan(700, 322, 640, 640), 700);  // a second screen's area, offset
}

}  // namespace
}  // namespace lumox
