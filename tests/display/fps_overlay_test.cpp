#include "display/fps_overlay.h"

#include <gtest/gtest.h>

#include <ctime>

#include "display/process_cpu.h"

namespace lumox {
namespace {

TEST(FpsOverlay, TheMeterReadsFramesAndCpuOncePerSecond) {
  FpsMeter meter;
  EXPECT_FALSE(meter.Started());
  meter.Start(10.0, 2.0);
  // Frames every 1/32 s: the 32nd ends the second.
  for (int k = 1; k < 32; ++k) EXPECT_FALSE(meter.Frame(10.0 + k / 32.0)) << k;
  ASSERT_TRUE(meter.Frame(11.0));
  FpsReading reading = meter.TakeReading(11.0, 2.5);
  EXPECT_EQ(std::pair(reading.fps, reading.cpu_percent), std::pair(32.0, 50.0));
  // The next second starts at the reading: 20 frames in 1.25 s, 1.5 CPU seconds (two busy cores).
  for (int k = 1; k < 16; ++k) EXPECT_FALSE(meter.Frame(11.0 + k / 16.0)) << k;
  for (int k = 16; k <= 20; ++k) EXPECT_TRUE(meter.Frame(11.0 + k / 16.0)) << k;
  reading = meter.TakeReading(12.25, 4.0);
  EXPECT_EQ(std::pair(reading.fps, reading.cpu_percent), std::pair(16.0, 120.0));
  // A CPU time that could not be read gives no CPU figure, at the end of a second or at its start.
  meter.Frame(13.25);
  EXPECT_LT(meter.TakeReading(13.25, -1.0).cpu_percent, 0.0);
  meter.Frame(14.25);
  EXPECT_LT(meter.TakeReading(14.25, 5.0).cpu_percent, 0.0);

  EXPECT_EQ(FpsText({32.0, 50.0}), "32 fps  CPU 50%");
  EXPECT_EQ(FpsText({29.6, 112.4}), "30 fps  CPU 112%");
  EXPECT_EQ(FpsText({33.3, -1.0}), "33 fps");
}

TEST(ProcessCpu, UserAndSystemTicksComeFromFieldsFourteenAndFifteen) {
  // A command name may hold spaces and parentheses of its own; the last ')' ends it.
  EXPECT_EQ(ProcStatCpuTicks("1234 (a) b (c)) S 1 2 3 4 5 6 7 8 9 10 250 75 11 12 20 0 3 0 99\n"), 325);
  EXPECT_EQ(ProcStatCpuTicks("7 (x) R 1 2 3 4 5 6 7 8 9 10 0 0 11"), 0);
  EXPECT_EQ(ProcStatCpuTicks("7 x R 1 2 3 4 5 6 7 8 9 10 250 75"), -1);  // no name
  EXPECT_EQ(ProcStatCpuTicks("7 (x) R 1 2 3 4 5 6 7 8 9 10 250"), -1);   // cut short
  EXPECT_EQ(ProcStatCpuTicks("7 (x) R 1 2 3 4 5 6 7 8 9 10 2x0 75"), -1);

  // This process: the figure follows the CPU time the C library counts, in seconds.
  const double start = ProcStatCpuSeconds();
  const std::clock_t clock_start = std::clock();
  ASSERT_GE(start, 0.0);
  volatile double sink = 0.0;
  while (std::clock() - clock_start < CLOCKS_PER_SEC / 2)
    for (int i = 0; i < 100000; ++i) sink = sink + i;
  const double spent = double(std::clock() - clock_start) / CLOCKS_PER_SEC;
  EXPECT_NEAR(ProcStatCpuSeconds() - start, spent, 0.1);
}

}  // namespace
}  // namespace lumox
