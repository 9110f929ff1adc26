// The frame as GL calls and a flight of days through Mesa's matrix; the readout's meter, CPU time and keys.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <new>
#include <string_view>
#include <tuple>
#include <vector>

#include "flight/display_keys.h"
#include "flight/fps_overlay.h"
#include "flight/frame.h"
#include "flight/gl_api.h"
#include "flight/process_cpu.h"
#include "support/core_helpers.h"

// The per-frame and per-tick paths must not allocate: operator new counts while they run.
namespace {
bool g_counting = false;
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

// A GL table that keeps the modelview matrix as Mesa does, in single precision and in Mesa's order of
// operations for a step along z and a turn about z, and drops every other call: days of frames in seconds.
struct MesaMatrix {
  float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  // column by column
  bool modelview = false;
  float Scale(int column) const { return std::hypot(m[4 * column], m[4 * column + 1]); }
};
MesaMatrix g_mesa_matrix;

const GlApi& MesaMatrixApi() {
  static const GlApi api{
      [](unsigned mode) { g_mesa_matrix.modelview = mode == gl::kModelview; },
      [] {
        if (g_mesa_matrix.modelview) g_mesa_matrix = MesaMatrix{.modelview = true};
      },
      [](double, double, double, double) {}, [](float, float, float, float) {}, [](unsigned) {}, [](float) {},
      [](unsigned) {},
      [](float, float, float z) {
        float* m = g_mesa_matrix.m;
        for (int i = 12; i < 16; ++i) m[i] = m[i - 12] * 0.0f + m[i - 8] * 0.0f + m[i - 4] * z + m[i];
      },
      [](float angle, float, float, float) {
        const float s = std::sin(static_cast<float>(angle * M_PI / 180.0));
        const float c = std::cos(static_cast<float>(angle * M_PI / 180.0));
        float* m = g_mesa_matrix.m;
        for (int i = 0; i < 2; ++i) {
          const float a0 = m[i], a1 = m[4 + i];
          m[i] = a0 * c + a1 * s;
          m[4 + i] = a0 * -s + a1 * c;
        }
      },
      [](unsigned) {}, [](double, double, double) {}, [](float, float, float) {}, [] {},
      [](float m[16]) { std::copy(g_mesa_matrix.m, g_mesa_matrix.m + 16, m); },
      [](float x, float y, float) {
        for (int i = 0; i < 4; ++i) g_mesa_matrix.m[i] *= x, g_mesa_matrix.m[4 + i] *= y;
      },
      [](const double*) {},
      [](const float m[16]) {
        if (g_mesa_matrix.modelview) std::copy(m, m + 16, g_mesa_matrix.m);
      }};
  return api;
}

struct GlCall {
  std::string_view name;
  std::array<double, 4> args{};
  friend bool operator==(const GlCall&, const GlCall&) = default;
};
GlCall Call(std::string_view name, double a = 0, double b = 0, double c = 0, double d = 0) { return {name, {a, b, c, d}}; }

// Records each GL call into storage reserved up front, so recording allocates nothing; the last one made records.
struct GlRecorder {
  GlRecorder() {
    calls.reserve(2 * kStarUpperBound + 14);  // the largest frame
    current = this;
  }
  static void Record(std::string_view name, double a = 0, double b = 0, double c = 0, double d = 0) {
    current->calls.push_back({name, {a, b, c, d}});
  }
  const GlApi& Api() const {
    static const GlApi api{
        [](unsigned m) { Record("glMatrixMode", m); }, [] { Record("glLoadIdentity"); },
        [](double a, double b, double c, double d) { Record("gluPerspective", a, b, c, d); },
        [](float a, float b, float c, float d) { Record("glClearColor", a, b, c, d); },
        [](unsigned m) { Record("glClear", m); }, [](float s) { Record("glPointSize", s); },
        [](unsigned c) { Record("glEnable", c); }, [](float x, float y, float z) { Record("glTranslatef", x, y, z); },
        [](float a, float x, float y, float z) { Record("glRotatef", a, x, y, z); },
        [](unsigned m) { Record("glBegin", m); }, [](double r, double g, double b) { Record("glColor3d", r, g, b); },
        [](float x, float y, float z) { Record("glVertex3f", x, y, z); }, [] { Record("glEnd"); },
        [](float m[16]) { Record("glGetFloatv"), std::copy_n(MesaMatrix{}.m, 16, m); },  // the identity
        [](float x, float y, float z) { Record("glScalef", x, y, z); },
        [](const double m[16]) { Record("glLoadMatrixd", m[0], m[8], m[9], m[14]); },
        [](const float m[16]) { Record("glLoadMatrixf", m[0], m[8], m[9], m[14]); }};
    return api;
  }
  const OverlayGlApi& OverlayApi() const {
    static const OverlayGlApi api{
        [](unsigned mask) { Record("glPushAttrib", mask); }, [] { Record("glPopAttrib"); },
        [](unsigned cap) { Record("glEnable", cap); }, [](unsigned s, unsigned d) { Record("glBlendFunc", s, d); },
        [](int x, int y) { Record("glWindowPos2i", x, y); },
        [](int w, int h, unsigned format, unsigned type, const void*) { Record("glDrawPixels", w, h, format, type); }};
    return api;
  }
  static inline GlRecorder* current = nullptr;
  std::vector<GlCall> calls;
};

TEST(NoAllocation, ShadingSweepAndFrameAllocateNothing) {
  StarField field{.StarMax = 50000};
  GenerateStars(field);
  GlRecorder recorder;
  g_counting = true;
  for (int tick = 0; tick < 50; ++tick) {
    recorder.calls.clear();
    ShadeStars(field);
    Surface_Render(field, recorder.Api());
    Timer2_Action(field);
    field.StarMax = tick % 2 ? 50000 : 100;  // raising the count makes no star either
  }
  g_counting = false;
  EXPECT_EQ(g_allocations, 0);
}

// Two live stars, the second with a colour below zero.
void TwoStars(StarField& field) {
  field.Star[1] = {.x = 0.5f, .y = -0.5f, .z = -2.0f, .cred = 0.1f, .cgreen = 0.2f, .cblue = 1.5f};
  field.Star[2] = {.x = -1.0f, .y = 2.0f, .z = -3.5f, .cred = -0.3f, .cgreen = 0.0f, .cblue = 0.7f};
}

TEST(Frame, IssuesTheFrameTableInOrder) {
  StarField field{.StarMax = 2, .CameraZ = -1.0f, .Speed = 0.25f, .StarSize = 1.44f};
  TwoStars(field);
  field.Star[3] = {.x = 9.0f, .y = 9.0f, .z = -1.0f, .cred = 1.0f};  // not live
  GlRecorder recorder;
  EXPECT_FALSE(Surface_Render(field, recorder.Api()));

  const float angle = FromBits(0xBD0F5C29);  // the single nearest -0.035, from the default Rotn 35
  const std::vector<GlCall> expected = {
      Call("glMatrixMode", 0x1701), Call("glLoadIdentity"), Call("gluPerspective", 55.0, 2.0, 0.001, 3.0),
      Call("glMatrixMode", 0x1700), Call("glClearColor", 0.0, 0.0, 0.0, 1.0), Call("glClear", 0x4000),
      Call("glPointSize", 1.44f), Call("glEnable", 0x0B10), Call("glTranslatef", 0.0, 0.0, 0.25),
      Call("glRotatef", angle, 0.0, 0.0, 1.0), Call("glBegin", 0),
      Call("glColor3d", 0.1f, 0.2f, 1.5f), Call("glVertex3f", 0.5, -0.5, -2.0),
      Call("glColor3d", -0.3f, 0.0, 0.7f), Call("glVertex3f", -1.0, 2.0, -3.5),
      Call("glVertex3f", 1.0, 1.0, 0.0), Call("glVertex3f", -1.0, -1.0, 0.0), Call("glEnd"),
  };
  EXPECT_EQ(recorder.calls, expected);
  EXPECT_EQ(field.CameraZ, -1.25f);
  field.StarMax = 50000;  // every star of the array
  recorder.calls.clear();
  Surface_Render(field, recorder.Api());
  EXPECT_EQ(recorder.calls.size(), 14u + 2u * 50000u);
}

// Where GL puts a star in eye space, as it computes it.
std::array<float, 3> Eye(const float* m, const StarData& s) {
  std::array<float, 3> eye;
  for (int i = 0; i < 3; ++i) eye[i] = m[i] * s.x + m[4 + i] * s.y + m[8 + i] * s.z + m[12 + i];
  return eye;
}

// After the first hour a frame takes 256 from the depths of the camera, the matrix and each star: no star moves.
TEST(Frame, TheRebaseAfterTheFirstHourMovesNoStar) {
  StarField field{.StarMax = 3};
  g_mesa_matrix = {};
  for (int64_t frame = 1; frame <= kSteadyFrames; ++frame) Surface_Render(field, MesaMatrixApi());
  const MesaMatrix hour = g_mesa_matrix;
  const float camera = field.CameraZ - field.Speed;  // where the next frame takes it
  field.Star[1] = {.x = 0.75f, .y = -2.25f, .z = camera - 0.5f};
  field.Star[2] = {.x = -2.5f, .y = 1.0f, .z = camera - 2.75f};
  field.Star[3] = {.x = 0.1f, .y = 2.4f, .z = camera - 9.9f};
  StarField plain = field;
  plain.Frames = 0;  // a frame of the first hour: no rebase
  Surface_Render(plain, MesaMatrixApi());
  const MesaMatrix unshifted = g_mesa_matrix;
  g_mesa_matrix = hour;
  Surface_Render(field, MesaMatrixApi());
  EXPECT_TRUE(field.CameraZ == camera + 256.0f && Bits(g_mesa_matrix.m[14]) == Bits(-field.CameraZ)) << field.CameraZ;
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(field.Star[i].z, plain.Star[i].z + 256.0f);
    EXPECT_EQ(Eye(g_mesa_matrix.m, field.Star[i]), Eye(unshifted.m, plain.Star[i])) << i;
  }
}

// Rotn 100 would turn Mesa's matrix down to a tenth of its scale in thirty days.
TEST(Frame, AFlightOfThirtyDaysKeepsItsStepAndItsScale) {
  struct { double Number() { return 0.5; } } half;
  StarField field{.StarMax = 4, .Rotn = 100};
  g_mesa_matrix = {};
  const int64_t days30 = 30LL * 24 * 3600 * 1000 / 30;
  float least = 1.0f, most = 0.0f, jump = 0.0f;
  double turn = 0.0;  // the most the picture turned in one frame where the camera is made anew
  const auto angle = [] { return std::atan2(double(g_mesa_matrix.m[1]), double(g_mesa_matrix.m[0])); };
  for (int64_t frame = 1; frame <= days30; ++frame) {
    const float before = field.CameraZ, scale = g_mesa_matrix.Scale(0);
    const double was = frame % 1000 == 0 ? angle() : 0.0;
    Surface_Render(field, MesaMatrixApi());
    if (frame % 1000 == 0) turn = std::max(turn, std::abs(std::remainder(angle() - was, 2.0 * M_PI)));
    jump = std::max(jump, std::abs(g_mesa_matrix.Scale(0) - scale));
    if (frame % 100 == 0) RecycleStars(field, half);
    if (frame > days30 - 100000 && field.CameraZ <= before) {  // not a rebase
      least = std::min(least, before - field.CameraZ);
      most = std::max(most, before - field.CameraZ);
    }
  }
  EXPECT_TRUE(least > 0.9f * field.Speed && most < 1.1f * field.Speed) << least << " to " << most;
  EXPECT_EQ(Bits(g_mesa_matrix.m[14]), Bits(-field.CameraZ));
  EXPECT_NEAR(g_mesa_matrix.Scale(0), 1.0, 0.001);
  EXPECT_NEAR(g_mesa_matrix.Scale(1), 1.0, 0.001);
  EXPECT_LT(jump, 2e-4f);  // no frame moves a star 1000 pixels out by more than a fifth of a pixel
  EXPECT_LT(turn, 1.01 * 0.1 * M_PI / 180.0);  // nor turns it by more than one frame's Rotn step
}

// The readout's GL state is saved and given back; with no reading yet the frame is all there is.
TEST(Frame, TheReadoutFollowsTheFrameAndPointsAreSizedInDevicePixels) {
  const auto calls = [](double ratio, OverlayPicture readout) {
    StarField field{.StarMax = 3, .StarSize = 1.44f};
    GlRecorder recorder;
    RenderWithReadout(field, recorder.Api(), readout, recorder.OverlayApi(), ratio);
    return recorder.calls;
  };
  StarField field{.StarMax = 3, .StarSize = 1.44f};
  GlRecorder recorder;
  Surface_Render(field, recorder.Api());
  std::vector<GlCall> frame = recorder.calls, read = frame;
  read.insert(read.end(), {Call("glPushAttrib", 0x4001), Call("glEnable", 0x0BE2), Call("glBlendFunc", 1, 0x0303),
                           Call("glWindowPos2i", 8, 8), Call("glDrawPixels", 3, 2, 0x1908, 0x1401), Call("glPopAttrib")});
  const unsigned char pixels[3 * 2 * 4] = {};
  // The readout keeps its place in logical pixels: its margin follows the ratio too.
  for (const auto& [ratio, bits, margin] : {std::tuple{1.0, 0x3FB851ECu, 8}, {2.0, 0x403851ECu, 16}, {1.25, 0x3FE66667u, 10}}) {
    frame[6] = read[6] = Call("glPointSize", FromBits(bits));
    read[read.size() - 3] = Call("glWindowPos2i", margin, margin);
    EXPECT_EQ(calls(ratio, {}), frame) << ratio;
    EXPECT_EQ(calls(ratio, {3, 2, pixels}), read) << ratio;
  }
}

// With --span each output draws its part of one picture the size of the outputs' bounding box.
TEST(Frame, EachOutputOfASpanDrawsItsCutOfTheBoxsPerspective) {
  const ViewRect a{0, 0, 1920, 1080}, b{1920, 56, 1280, 1024};
  const ViewRect box = BoundingBox({a, b, {-500, -500, 0, 0}});
  EXPECT_EQ(box, (ViewRect{0, 0, 3200, 1080}));
  EXPECT_EQ(BoundingBox({b, {-1280, 100, 1280, 1024}}), (ViewRect{-1280, 56, 4480, 1068}));
  // Grown only on the edges inside the box, where the next output takes over.
  EXPECT_EQ(GrownInside(a, box, 3), (ViewRect{0, 0, 1923, 1080}));
  EXPECT_EQ(GrownInside(b, box, 3), (ViewRect{1917, 53, 1283, 1027}));
  const auto bits = [](const Projection& m) { return std::bit_cast<std::array<uint64_t, 16>>(m); };
  const Projection whole = CutPerspective(a, a);  // then two halves: twice as wide, shifted half their own way
  EXPECT_TRUE(bits(whole)[8] == 0 && bits(whole)[9] == 0);  // no shift, not even -0
  Projection half = whole;
  half[0] = whole[0] * 2;
  half[8] = -1.0;
  const Projection left = CutPerspective({0, 0, 960, 1080}, a), right = CutPerspective({960, 0, 960, 1080}, a);
  EXPECT_EQ(bits(left), bits(half));
  half[8] = 1.0;
  EXPECT_EQ(bits(right), bits(half));
  // Lower and narrower than the box: its rows 56 to 1080 of 1080, its columns 1920 to 3200 of 3200.
  Projection lower = CutPerspective(box, box);
  lower[0] *= 2.5;
  lower[5] *= 1.0546875;
  lower[8] = 1.5;
  lower[9] = -0.0546875;
  EXPECT_EQ(bits(CutPerspective(b, box)), bits(lower));

  // The output that moves the camera loads its cut; another draws through the camera given, moving nothing.
  StarField field{.StarMax = 2, .Speed = 0.25f, .StarSize = 2.0f};
  TwoStars(field);
  GlRecorder recorder;
  Surface_Render(field, recorder.Api(), 1.0, &left);
  std::vector<GlCall> calls = recorder.calls;
  EXPECT_EQ(std::vector(calls.begin(), calls.begin() + 3),
            (std::vector{Call("glMatrixMode", 0x1701), Call("glLoadMatrixd", left[0], -1.0, 0.0, left[14]),
                         Call("glMatrixMode", 0x1700)}));
  recorder.calls.clear();
  const float camera[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0.25f, 1};
  DrawField(field, recorder.Api(), 2.0, right, camera);
  calls[1] = Call("glLoadMatrixd", right[0], 1.0, 0.0, right[14]);
  calls[5] = Call("glPointSize", 4.0);
  calls[7] = Call("glLoadMatrixf", 1.0, 0.0, 0.0, 0.25);  // in place of the step and the turn
  calls.erase(calls.begin() + 8);
  EXPECT_EQ(recorder.calls, calls);
  EXPECT_EQ(field.CameraZ, -0.25f);
}

TEST(FpsOverlay, TheMeterReadsFramesAndCpuOncePerSecond) {
  FpsMeter meter;
  EXPECT_FALSE(meter.Started());
  meter.Start(10.0, 2.0);  // then frames every 1/32 s: the 32nd ends the second
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

  EXPECT_EQ(std::tuple(FpsText({32.0, 50.0}), FpsText({29.6, 112.4}), FpsText({33.3, -1.0})),
            std::tuple("32 fps  CPU 50%", "30 fps  CPU 112%", "33 fps"));
}

TEST(ProcessCpu, UserAndSystemTicksComeFromFieldsFourteenAndFifteen) {
  // A command name may hold spaces and parentheses of its own; the last ')' ends it.
  EXPECT_EQ(ProcStatCpuTicks("1234 (a) b (c)) S 1 2 3 4 5 6 7 8 9 10 250 75 11 12 20 0 3 0 99\n"), 325);
  EXPECT_EQ(ProcStatCpuTicks("7 (x) R 1 2 3 4 5 6 7 8 9 10 0 0 11"), 0);
  EXPECT_EQ(ProcStatCpuTicks("7 x R 1 2 3 4 5 6 7 8 9 10 250 75"), -1);  // no name
  EXPECT_EQ(ProcStatCpuTicks("7 (x) R 1 2 3 4 5 6 7 8 9 10 250"), -1);   // cut short
  EXPECT_EQ(ProcStatCpuTicks("7 (x) R 1 2 3 4 5 6 7 8 9 10 2x0 75"), -1);

  const double start = ProcStatCpuSeconds();  // follows the CPU time the C library counts, in seconds
  const std::clock_t clock_start = std::clock();
  ASSERT_GE(start, 0.0);
  volatile double sink = 0.0;
  while (std::clock() - clock_start < CLOCKS_PER_SEC / 2)
    for (int i = 0; i < 100000; ++i) sink = sink + i;
  const double spent = double(std::clock() - clock_start) / CLOCKS_PER_SEC;
  EXPECT_NEAR(ProcStatCpuSeconds() - start, spent, 0.1);
}

using Kind = DisplayKeyEffect::Kind;
using Effects = std::vector<DisplayKeyEffect>;

TEST(DisplayKeys, RotationClampsOnlyOnTheSideItMovesToAndSaturatesAndSpeedStopsAtItsLimits) {
  EXPECT_EQ(DisplayKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 0, false).Rotn, -1980);
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min(), kMax = std::numeric_limits<int64_t>::max();
  // {from, after left, after right}: a value beyond the limits is pulled in only by the key
  // pushing it outward. INT64_MAX - 20 rounds to 2^63 in double, which saturates back.
  const int64_t rows[][3] = {{-2000, -2000, -1980}, {-1990, -2000, -1970}, {2000, 1980, 2000},
                             {3000, 2980, 2000},    {-3000, -2000, -2980}, {kMax, kMax, 2000},
                             {kMin, -2000, kMin}};
  for (const auto& row : rows) EXPECT_EQ(std::pair(RotnLeft(row[0]), RotnRight(row[0])), std::pair(row[1], row[2])) << row[0];

  // Speed steps from where it stands and stops at the limits.
  const float floor = SpeedDown(SpeedDown(kDefaultSpeed));
  // From the floor up is ~0.0027, not back to ~0.001.
  EXPECT_EQ(std::tuple(Bits(floor), Bits(SpeedDown(floor)), Bits(SpeedUp(floor))), std::tuple(kFloorBits, kFloorBits, 0x3B30F27Cu));
  float s = kDefaultSpeed;
  for (int i = 0; i < 38; ++i) s = SpeedUp(s);
  EXPECT_EQ(Bits(s), 0x3DC9BA5Bu);  // ~0.0985, one press short
  EXPECT_EQ(std::pair(Bits(SpeedUp(s)), Bits(SpeedUp(SpeedUp(s)))), std::pair(kCeilingBits, kCeilingBits));

  // Down and up together, 50000 stars: ~0.0975 gives 19 (19.5 before truncation), 0.1 gives 20.
  const DisplayKeyResult r = DisplayKeyDown(Keys({kKeyDown, kKeyUp}), 0, FromBits(kCeilingBits), 50000, false);
  EXPECT_EQ(Bits(r.Speed), kCeilingBits);
  EXPECT_EQ(r.effects, (Effects{{Kind::SetTimer2Period, 19}, {Kind::SetTimer2Period, 20}}));
}

TEST(DisplayKeys, KeysActInTableOrderAndEscapeLeavesFullScreenOnce) {
  DisplayKeyResult r = DisplayKeyDown(Keys({0, 2, 36, 127}), 35, kDefaultSpeed, 21600, false);
  EXPECT_TRUE(r.Rotn == 35 && r.effects.empty());
  r = DisplayKeyDown(Keys({kKeyS, kKeyUp, kKeyDown, kKeyRight, kKeyLeft, kKeyEscape}), 35, kDefaultSpeed, 21600, false);
  EXPECT_TRUE(r.Rotn == 35 && r.escaped);  // the arrows for rotation add no effect of their own
  EXPECT_EQ(r.effects, (Effects{{Kind::LeaveFullScreen}, {Kind::SetTimer2Period, 0},
                                {Kind::SetTimer2Period, 0}, {Kind::ShowPrefs}}));
  r = DisplayKeyDown(Keys({kKeyEscape}), r.Rotn, r.Speed, 21600, r.escaped);
  EXPECT_TRUE(r.escaped && r.effects == Effects{{Kind::Restore}});
}

}  // namespace
}  // namespace lumox
