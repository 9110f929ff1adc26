// Costs of the three passes over 50000 stars.
#include <benchmark/benchmark.h>

#include "starfield/star_field.h"

namespace lumox {
namespace {

StarField FullField() {
  StarField field;
  field.StarMax = 50000;
  GenerateStars(field);
  return field;
}

void BM_Generation(benchmark::State& state) {
  StarField field;
  field.StarMax = 50000;
  for (auto _ : state) {
    GenerateStars(field);
    benchmark::DoNotOptimize(field.Star[50000].z);
  }
}
BENCHMARK(BM_Generation)->Unit(benchmark::kMicrosecond);

void BM_ShadingPass(benchmark::State& state) {
  StarField field = FullField();
  field.CameraZ = -1.0f;
  for (auto _ : state) {
    ShadeStars(field);
    benchmark::DoNotOptimize(field.Star[50000].cred);
  }
}
BENCHMARK(BM_ShadingPass)->Unit(benchmark::kMicrosecond);

// A sweep at the default speed: the camera moves 0.0035 per frame, so a sweep finds few stars.
void BM_SweepAfterOneFrame(benchmark::State& state) {
  StarField field = FullField();
  for (auto _ : state) {
    field.CameraZ -= kDefaultSpeed;
    Timer2_Action(field);
    benchmark::DoNotOptimize(field.Star[1].z);
  }
}
BENCHMARK(BM_SweepAfterOneFrame)->Unit(benchmark::kMicrosecond);

// A sweep that finds nothing to do: the cost of the test alone, as on most loop passes.
void BM_SweepNothingPassed(benchmark::State& state) {
  StarField field = FullField();
  field.CameraZ = -0.5f;
  Timer2_Action(field);
  for (auto _ : state) {
    Timer2_Action(field);
    benchmark::DoNotOptimize(field.Star[1].z);
  }
}
BENCHMARK(BM_SweepNothingPassed)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace lumox
