#include "desktop/desktop_core.h"

#include <gtest/gtest.h>

namespace lumox {
namespace {

using C = OutputChange;

TEST(OutputPlan, OutputsComeAndGoAndOnlyTheirOwnFlightsChange) {
  OutputPlan plan;
  plan.Added(7);
  plan.Added(3);
  EXPECT_FALSE(plan.Flying(7));  // nothing before the description is complete
  EXPECT_EQ(plan.Described(7, "DP-1"), (std::vector<C>{{C::kFly, 7}}));
  EXPECT_EQ(plan.Described(3, "HDMI-A-1"), (std::vector<C>{{C::kFly, 3}}));
  EXPECT_EQ(plan.Described(7, "DP-1"), std::vector<C>{});  // described again: no second flight
  EXPECT_EQ(plan.Names(), (std::vector<std::string>{"DP-1", "HDMI-A-1"}));  // in the order they came

  EXPECT_EQ(plan.Removed(7), (std::vector<C>{{C::kLand, 7}}));
  EXPECT_TRUE(plan.Flying(3));
  EXPECT_EQ(plan.Removed(7), std::vector<C>{});  // gone already
  EXPECT_EQ(plan.Described(7, "DP-1"), std::vector<C>{});  // a late event of a removed output
  EXPECT_EQ(plan.Removed(3), (std::vector<C>{{C::kLand, 3}}));
  EXPECT_TRUE(plan.Names().empty());
  EXPECT_FALSE(plan.WantedPresent());  // none left: the host waits for one
  plan.Added(9);
  EXPECT_EQ(plan.Described(9, "DP-3"), (std::vector<C>{{C::kFly, 9}}));
}

TEST(OutputPlan, OneWantedOutputAloneFliesAndARenameFollowsIt) {
  OutputPlan plan("DP-2");
  plan.Added(1);
  plan.Added(2);
  EXPECT_EQ(plan.Described(1, "DP-1"), std::vector<C>{});
  EXPECT_FALSE(plan.WantedPresent());
  EXPECT_EQ(plan.Described(2, "DP-2"), (std::vector<C>{{C::kFly, 2}}));
  EXPECT_TRUE(plan.WantedPresent());
  EXPECT_EQ(plan.Described(2, "DP-9"), (std::vector<C>{{C::kLand, 2}}));
  EXPECT_EQ(plan.Described(1, "DP-2"), (std::vector<C>{{C::kFly, 1}}));
  EXPECT_EQ(NoSuchOutput("X", plan.Names()), "No output 'X'; the outputs are DP-2, DP-9.");
  EXPECT_EQ(plan.Removed(2), std::vector<C>{});  // it had no flight to land
  EXPECT_EQ(NoSuchOutput("X", {}), "No output 'X'; the outputs are none.");
}

TEST(WakeWatch, ThePointerWakesOnceItLeavesASmallCircleOrItsOutput) {
  WakeWatch watch;
  EXPECT_FALSE(watch.Pointer(1, 100.0, 100.0));  // where it is first seen
  EXPECT_FALSE(watch.Pointer(1, 100.0 + WakeWatch::kDistance, 100.0));
  EXPECT_FALSE(watch.Pointer(1, 105.0, 106.0));  // 7.8 away
  EXPECT_TRUE(watch.Pointer(1, 106.0, 106.0));   // 8.5 away
  EXPECT_TRUE(watch.Pointer(2, 100.0, 100.0));   // the same place on another output
}

}  // namespace
}  // namespace lumox
