// The per-frame and per-tick paths must not allocate: count every operator new while they run.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "display/frame.h"
#include "starfield/star_field.h"
#include "support/gl_recorder.h"

namespace {
std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};
}  // namespace

void* operator new(std::size_t size) {
  if (g_counting.load(std::memory_order_relaxed)) g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace lumox {
namespace {

template <class F>
long AllocationsDuring(F&& f) {
  g_allocations = 0;
  g_counting = true;
  f();
  g_counting = false;
  return g_allocations.load();
}

TEST(NoAllocation, ShadingSweepAndFrameAllocateNothing) {
  StarField field;
  field.StarMax = 50000;
  GenerateStars(field);
  testing::GlRecorder recorder(&field);  // reserved before counting starts
  for (int tick = 0; tick < 50; ++tick) {
    EXPECT_EQ(AllocationsDuring([&] { ShadeStars(field); }), 0);
    EXPECT_EQ(AllocationsDuring([&] { Surface_Render(field, testing::NullGl()); }), 0);
    EXPECT_EQ(AllocationsDuring([&] { Timer2_Action(field); }), 0);
    // Raising the count during a run makes no star either.
    field.StarMax = tick % 2 ? 50000 : 100;
  }
  field.StarMax = 10;
  recorder.Clear();
  EXPECT_EQ(AllocationsDuring([&] { Surface_Render(field, recorder.Api()); }), 0);
  EXPECT_EQ(recorder.Calls().size(), 34u);
  // The counter works: a vector of stars is an allocation.
  EXPECT_GT(AllocationsDuring([] { StarField another; }), 0);
}

}  // namespace
}  // namespace lumox
