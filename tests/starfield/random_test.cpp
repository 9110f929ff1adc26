#include "starfield/random.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace lumox {
namespace {

TEST(Random, NumbersLieInTheUnitIntervalAndLookUniform) {
  Random random;
  constexpr int kDraws = 200000;
  int buckets[10] = {};
  for (int i = 0; i < kDraws; ++i) {
    const double n = random.Number();
    ASSERT_GE(n, 0.0);
    ASSERT_LT(n, 1.0);
    ++buckets[static_cast<int>(n * 10)];
  }
  for (int count : buckets) EXPECT_NEAR(count, kDraws / 10, kDraws / 100);
}

TEST(Random, EachNewObjectStartsASequenceOfItsOwn) {
  // The sweep makes a new object every tick; none may replay (or shift into) its predecessor's draws.
  std::vector<double> previous;
  std::set<double> first_values;
  for (int object = 0; object < 2000; ++object) {
    Random random;
    std::vector<double> draws(16);
    for (double& d : draws) d = random.Number();
    first_values.insert(draws[0]);
    for (double earlier : previous)
      for (double now : draws) ASSERT_NE(earlier, now) << "object " << object;
    previous = draws;
  }
  EXPECT_EQ(first_values.size(), 2000u);
}

}  // namespace
}  // namespace lumox
