#include "starfield/random.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumox {
namespace {

TEST(Random, UniformInTheUnitIntervalAndEachNewObjectHasASequenceOfItsOwn) {
  Random random;
  int buckets[10] = {};
  for (int i = 0; i < 200000; ++i) {
    const double n = random.Number();
    ASSERT_TRUE(n >= 0.0 && n < 1.0) << n;
    ++buckets[static_cast<int>(n * 10)];
  }
  for (int count : buckets) EXPECT_NEAR(count, 20000, 2000);

  // The sweep makes a new object every tick; none may replay (or shift into) its predecessor's draws.
  std::vector<double> previous;
  for (int object = 0; object < 2000; ++object) {
    Random next;
    std::vector<double> draws(16);
    for (double& d : draws) d = next.Number();
    for (double earlier : previous)
      for (double now : draws) ASSERT_NE(earlier, now) << "object " << object;
    previous = draws;
  }
}

}  // namespace
}  // namespace lumox
