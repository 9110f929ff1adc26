#include "display/fps_overlay.h"

#include <gtest/gtest.h>

#include <ctime>


#include "display/frame.h"
#include "display/process_cpu.h"
#include "support/gl_recorder.h"

namespace lumox {
namespace {

using testing::GlCall;
using testing::GlRecorder;

StarField TwoStars() {
  StarField field;
  field.StarMax = 2;
  field.StarSize = 2.5f;
  field.CameraZ = -4.0f;
  field.Star[1] = {.x = 0.5f, .y = -0.5f, .z = -5.0f, .cred = 0.1f, .cgreen = 0.2f, .cblue = 1.5f};
  field.Star[2] = {.x = -1.0f, .y = 2.0f, .z = -6.5f, .cred = 0.3f, .cgreen = 0.0f, .cblue = 0.7f};
  return field;
}

TEST(FpsOverlay, TheReadoutComesAfterTheFrameWhoseCallsAndCameraStayAsTheyAre) {
  StarField plain_field = TwoStars();
  GlRecorder plain;
  EXPECT_FALSE(Surface_Render(plain_field, plain.Api()));
  const std::vector<GlCall> frame = plain.Calls();

  StarField field = TwoStars();
  GlRecorder recorder;
  const unsigned char pixels[3 * 2 * 4] = {};
  EXPECT_FALSE(RenderWithReadout(field, recorder.Api(), {3, 2, pixels}, recorder.OverlayApi()));
  ASSERT_EQ(recorder.Calls().size(), frame.size() + 6);
  EXPECT_EQ(std::vector<GlCall>(recorder.Calls().begin(), recorder.Calls().begin() + frame.size()), frame);
  // Its own state saved and given back around it; no matrix call among them.
  const std::vector<GlCall> readout = {
      {"glPushAttrib", {0x4001}}, {"glEnable", {0x0BE2}},           {"glBlendFunc", {1, 0x0303}},
      {"glWindowPos2i", {8, 8}},  {"glDrawPixels", {3, 2, 0x1908, 0x1401}}, {"glPopAttrib"},
  };
  EXPECT_EQ(std::vector<GlCall>(recorder.Calls().begin() + frame.size(), recorder.Calls().end()), readout);
  EXPECT_EQ(field.CameraZ, plain_field.CameraZ);

  // Before the first reading there is no picture, and the frame is all there is.
  recorder.Clear();
  field = TwoStars();
  RenderWithReadout(field, recorder.Api(), {}, recorder.OverlayApi());
  EXPECT_EQ(recorder.Calls(), frame);
}

TEST(FpsOverlay, TheMeterReadsFramesAndCpuOncePerSecond) {
  FpsMeter meter;
  EXPECT_FALSE(meter.Started());
  meter.Start(10.0, 2.0);
  // Frames every 1/32 s: the 32nd ends the second.
  for (int k = 1; k < 32; ++k) EXPECT_FALSE(meter.Frame(10.0 + k / 32.0)) << k;
  ASSERT_TRUE(meter.Frame(11.0));
  FpsReading reading = meter.TakeReading(11.0, 2.5);
  EXPECT_EQ(reading.fps, 32.0);
  EXPECT_EQ(reading.cpu_percent, 50.0);
  // The next second starts at the reading: 20 frames in 1.25 s, 1.5 CPU seconds (two busy cores).
  for (int k = 1; k < 16; ++k) EXPECT_FALSE(meter.Frame(11.0 + k / 16.0)) << k;
  for (int k = 16; k <= 20; ++k) EXPECT_TRUE(meter.Frame(11.0 + k / 16.0)) << k;
  reading = meter.TakeReading(12.25, 4.0);
  EXPECT_EQ(reading.fps, 16.0);
  EXPECT_EQ(reading.cpu_percent, 120.0);
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
