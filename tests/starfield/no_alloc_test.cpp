// The per-frame and per-tick paths must not allocate: count every operator new while they run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "flight/frame.h"
#include "starfield/star_field.h"
#include "support/gl_recorder.h"

namespace {
bool g_counting = false;  // the tests run on one thread
long g_allocations = 0;
}  // namespace

void* operator new(std::size_t size) {
  g_allocations += g_counting;
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace lumox {
namespace {

TEST(NoAllocation, ShadingSweepAndFrameAllocateNothing) {
  StarField field;
  field.StarMax = 50000;
  GenerateStars(field);
  testing::GlRecorder recorder;
  g_counting = true;
  for (int tick = 0; tick < 50; ++tick) {
    recorder.Clear();
    ShadeStars(field);
    Surface_Render(field, recorder.Api());
    Timer2_Action(field);
    field.StarMax = tick % 2 ? 50000 : 100;  // raising the count makes no star either
  }
  g_counting = false;
  EXPECT_EQ(g_allocations, 0);
}

}  // namespace
}  // namespace lumox
