// The pure tests, with no window and no display: the star field's formulas, the frame as GL calls
// and a flight of days through Mesa's matrix, the keys, the readout's meter, the settings file and
// the options, the command line, the idle inhibit, and the desktop modes' core and display.
#include <gtest/gtest.h>
#include <locale.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <new>
#include <random>
#include <string_view>
#include <tuple>
#include <vector>

#include "desktop/desktop_core.h"
#include "desktop/display_choice.h"
#include "desktop/wayland/surface_scale.h"
#include "flight/display_keys.h"
#include "flight/fps_overlay.h"
#include "flight/frame.h"
#include "flight/gl_api.h"
#include "flight/process_cpu.h"
#include "settings/data_folder.h"
#include "settings/prefs_follow.h"
#include "settings/prefs_format.h"
#include "settings/prefs_keys.h"
#include "settings/setting_options.h"
#include "shell/command_line.h"
#include "shell/inhibit_plan.h"
#include "shell/placement.h"
#include "starfield/star_field.h"
#include "support/gl_matrix.h"

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

using namespace testing;  // Mesa's matrix

uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
float FromBits(uint32_t bits) { return std::bit_cast<float>(bits); }
uint64_t Bits(double value) { return std::bit_cast<uint64_t>(value); }

// A source of N that gives exactly the values it was handed; asked for more, it throws and the test fails.
struct ScriptedNumbers {
  std::vector<double> values;
  size_t used = 0;
  double Number() { return values.at(used++); }
};

using Fields = std::array<uint32_t, 11>;

// x, y, z, brightness, cbrightness, red, green, blue, cred, cgreen, cblue.
Fields Written(const StarData& s) {
  return {Bits(s.x),     Bits(s.y),     Bits(s.z),    Bits(s.brightness), Bits(s.cbrightness), Bits(s.red),
          Bits(s.green), Bits(s.blue), Bits(s.cred), Bits(s.cgreen),     Bits(s.cblue)};
}

bool IsZero(const StarData& s) { return Written(s) == Fields{} && s.size == 0 && s.colour == 0 && s.dx == 0 && s.dy == 0; }

TEST(StarField, DefaultsByScreenWidthAndTimer2Period) {
  // The singles nearest W / 1000; 3334 is the first width whose count passes the array's 50000.
  const struct { int64_t width; uint32_t size_bits; int64_t star_max; } rows[] = {
      {1024, 0x3F83126F, 15360}, {1440, 0x3FB851EC, 21600}, {3334, 0x40556042, 50010}};
  for (const auto& row : rows) {
    const Settings d = DefaultSettings(row.width);
    EXPECT_EQ(std::tuple(d.Rotn, Bits(d.Speed), d.ColourSpread, Bits(d.StarSize), d.StarMax),
              std::tuple(35, 0x3B656042u, 170, row.size_bits, row.star_max)) << row.width;
  }
  // 19999 at 0.1 is 7.9996 exactly: truncated, not rounded. A file's speed can be anything.
  const struct { int64_t star_max; float speed; int64_t period; } periods[] = {
      {21600, kDefaultSpeed, 0}, {21600, 0.0125f, 1}, {21600, 0.1f, 8}, {50000, 0.1f, 20}, {19999, 0.1f, 7},
      {21600, -0.1f, -8},        {50000, 3e38f, std::numeric_limits<int64_t>::max()}};
  for (const auto& p : periods) EXPECT_EQ(Timer2Period(p.star_max, p.speed), p.period) << p.star_max;
}

TEST(StarField, GenerationFollowsTheFormulasBitForBit) {
  StarField field{.StarMax = 3};
  field.Star[4].x = 9.0f;  // beyond StarMax: made anew and left at zero
  // Star 1 at the far plane; star 2 beyond it, green held by its own cap; star 3 with red and blue
  // both under green's cap, so green takes the larger, blue.
  ScriptedNumbers n{{0.5, 0.25, 0.3, 0.5, 0.5, 0.2, 0.9,  //
                     0.1, 0.9, 0.75, 1.0, 0.9, 0.8, 0.0,  //
                     0.0, 0.0, 0.1, 0.0, 0.0, 0.5, 1.0}};
  GenerateStars(field, n);
  EXPECT_EQ(n.used, 21u);
  const Fields expected[] = {
      {0, 0xBFA00000, 0xC0400000, 0x3F333333, 0, 0x3F1C5C5C, 0x3F1C5C5C, 0x3F06396C, 0, 0, 0},
      {0xC0000000, 0x40000000, 0xC0F00000, 0x3F99999A, 0xBFE66667, 0x3F9F5286, 0x3F848485, 0x3F98FF66, 0xC00F63DF,
       0xBFEE8823, 0xC009B2A9},
      {0xC0200000, 0xC0200000, 0xBF800000, 0x3E4CCCCD, 0x3E088889, 0x3E088889, 0x3E32B2B3, 0x3E32B2B3, 0x3C91A2B5,
       0x3CBE9C7B, 0x3CBE9C7B}};
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Written(field.Star[i + 1]), expected[i]) << i + 1;
  EXPECT_TRUE(IsZero(field.Star[4]) && IsZero(field.Star[0]));

  field.StarMax = 1;
  field.ColourSpread = 255;
  ScriptedNumbers top{{0.5, 0.5, 0.5, 1.0, 1.0, 0.0, 0.0}};
  GenerateStars(field, top);
  EXPECT_EQ(Bits(field.Star[1].red), 0x3FD8D8D9u);  // about 1.69, not clamped
}

TEST(StarField, ShadingByDepthInDouble) {
  StarField field{.StarMax = 3, .CameraZ = -10.0f};
  field.Star[1] = {.z = -10.0f, .red = 0.9f, .green = 0.5f};  // depth 0
  field.Star[2] = {.z = -13.0f, .red = 0.9f};                 // depth 3: the far plane
  field.Star[3] = {.z = -14.0f, .blue = 1.0f};                // beyond it
  field.Star[4] = {.z = -10.0f, .red = 1.0f};                 // not live
  ShadeStars(field);
  const StarData& s = field.Star[1];  // 1.4, 1.26, 0.7
  EXPECT_EQ((std::array{Bits(s.cbrightness), Bits(s.cred), Bits(s.cgreen)}),
            (std::array{0x3FB33333u, 0x3FA147AEu, 0x3F333333u}));
  EXPECT_TRUE(Bits(field.Star[2].cbrightness) == 0 && Bits(field.Star[2].cred) == 0);
  EXPECT_TRUE(field.Star[3].cblue < 0.0f && field.Star[4].cred == 0.0f);

  // After the first frame: worked in single precision the factor would end in ...F9.
  field.CameraZ = -kDefaultSpeed;
  field.Star[1] = {.z = -1.0f, .red = 0.9f, .green = 0.5f, .blue = 0.25f};
  ShadeStars(field);
  EXPECT_EQ((std::array{Bits(s.cbrightness), Bits(s.cred), Bits(s.cgreen), Bits(s.cblue)}),
            (std::array{0x3F6F59FAu, 0x3F576A94u, 0x3EEF59FAu, 0x3E6F59FAu}));
}

TEST(StarField, RecyclingOnlyThePassedStarsWithTheCurrentSpread) {
  StarField field{.StarMax = 3, .CameraZ = -100.0f, .ColourSpread = 80};
  field.Star[1].z = -99.0f;                        // passed
  field.Star[2] = {.z = -100.0f, .red = 0.25f};  // exactly at the camera: not passed yet
  field.Star[3].z = -101.0f;                       // ahead
  field.Star[4].z = 0.0f;                          // passed but not live
  ScriptedNumbers n{{0.5, 0.25, 0.5, 0.6, 0.1, 0.9, 0.3}};
  RecycleStars(field, n);
  EXPECT_EQ(n.used, 7u);
  // Depth 6.5; cbrightness is measured on the absolute z, so it lies well below zero.
  EXPECT_EQ(Written(field.Star[1]), (Fields{0, 0xBFA00000, 0xC2D50000, 0x3F4CCCCD, 0xC1DCCCCD, 0x3E915E2B,
                                            0x3EDF45AC, 0x3F0C25BF, 0xC0FAC271, 0xC140927E, 0xC171C11D}));
  EXPECT_TRUE(field.Star[2].z == -100.0f && field.Star[2].red == 0.25f && field.Star[3].z == -101.0f && field.Star[4].z == 0.0f);

  field.StarMax = 0;  // touches nothing, though star 1 is now far behind
  field.CameraZ = -200.0f;
  ShadeStars(field);
  Timer2_Action(field);
  EXPECT_EQ(Bits(field.Star[1].cbrightness), 0xC1DCCCCDu);
}

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

struct GlCall {
  std::string_view name;
  std::array<double, 4> args{};
  friend bool operator==(const GlCall&, const GlCall&) = default;
};
GlCall Call(std::string_view name, double a = 0, double b = 0, double c = 0, double d = 0) { return {name, {a, b, c, d}}; }

// A GL table that records each call into storage reserved up front, so recording a frame
// allocates nothing. Calls go to the recorder made last.
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

// Thirty days of frames (Rotn 100 turns Mesa's matrix down to a tenth of its scale in that time):
// the camera still steps by its Speed, the matrix still shadows it and the picture keeps its scale.
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

// The readout is laid over the finished frame in state of its own, saved and given back; with no
// reading yet the frame is all there is. Points are sized in device pixels: StarSize times the ratio.
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

  // The output that moves the camera loads its cut for the perspective; another draws the same
  // stars through the camera it is given, at its own scale, and moves nothing.
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
using PrefsKind = PrefsKeyEffect::Kind;
using PrefsEffects = std::vector<PrefsKeyEffect>;

KeySet Keys(std::initializer_list<int> codes) { KeySet k; for (int c : codes) k.set(c); return k; }

constexpr uint32_t kFloorBits = 0x3951B717, kCeilingBits = 0x3DCCCCCD;  // the singles nearest 0.0002 and 0.1

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

TEST(PrefsKeys, OnlyEscapeAndArrowsActAndEachSliderFollowsItsStep) {
  EXPECT_TRUE(PrefsKeyDown(Keys({kKeyS, 36}), 35, kDefaultSpeed, 21600).effects.empty());  // `s`, return
  PrefsKeyResult r = PrefsKeyDown(Keys({kKeyLeft, kKeyRight}), -2000, kDefaultSpeed, 21600);
  EXPECT_EQ(r.Rotn, -1980);
  EXPECT_EQ(r.effects, (PrefsEffects{{PrefsKind::SetSlider4, -2000}, {PrefsKind::SetSlider4, -1980}}));

  // From the default down twice (10, then 1 below the slider's minimum), then up four times.
  const int64_t expected[] = {10, 1, 27, 52, 76, 102};
  float speed = kDefaultSpeed;
  for (int i = 0; i < 6; ++i) {
    const PrefsKeyResult step = PrefsKeyDown(Keys({i < 2 ? kKeyDown : kKeyUp}), 35, speed, 21600);
    EXPECT_EQ(step.effects, (PrefsEffects{{PrefsKind::SetTimer2Period, 0}, {PrefsKind::SetSlider1, expected[i]}})) << i;
    speed = step.Speed;
  }
  EXPECT_EQ(Bits(speed), 0x3C271DE7u);  // ~0.0102

  // Escape comes first and the arrows still act. From 0.1 down to ~0.0975 at 50000 stars: the
  // period 19 (19.5) and the slider 975, where the old speed would give 20 and 1000.
  r = PrefsKeyDown(Keys({kKeyDown, kKeyEscape, kKeyRight}), 35, FromBits(kCeilingBits), 50000);
  EXPECT_EQ(r.Rotn, 55);
  EXPECT_EQ(r.effects, (PrefsEffects{{PrefsKind::MinimizeAndResize}, {PrefsKind::SetSlider4, 55},
                                     {PrefsKind::SetTimer2Period, 19}, {PrefsKind::SetSlider1, 975}}));
}

using Lines = std::vector<std::string>;
constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max(), kMin64 = std::numeric_limits<int64_t>::min();

auto SettingsBits(const Settings& s) { return std::tuple(s.Rotn, Bits(s.Speed), s.ColourSpread, Bits(s.StarSize), s.StarMax); }

// Files from editors on other systems: every line end, a byte-order mark, text read in pieces
// cut anywhere (a CR LF or the mark itself may be split between two reads).
TEST(PrefsFormatFile, AnyLineEndAndAByteOrderMarkReadAlikeInPiecesOfAnySize) {
  const Lines six = {"-35", "0.05", "200", "2.5", "30000", "after"};
  const std::string bom = "\xEF\xBB\xBF";
  const std::string texts[] = {"-35\n0.05\n200\n2.5\n30000\nafter\n", "-35\r0.05\n200\r\n2.5\r30000\r\nafter",
                               bom + "-35\r\n0.05\r\n200\r\n2.5\r\n30000\r\nafter\r\n", bom + "-35\r0.05\r200\r2.5\r30000\rafter\r"};
  const Settings plain = ReadSettings(six);
  for (const std::string& text : texts) {
    const std::string shown = ::testing::PrintToString(text);
    EXPECT_EQ(WriteSettings(ReadSettings(SplitLines(text))), WriteSettings(plain)) << shown;
    const size_t fifth_end = text.find("30000") + 5;
    for (size_t piece = 1; piece <= text.size(); ++piece) {
      LineSplitter all, five(5);
      for (size_t at = 0; at < text.size(); at += piece) {
        all.Feed(std::string_view(text).substr(at, piece));
        // Done exactly with the piece that holds the fifth line's end, and from then on.
        ASSERT_EQ(five.Feed(std::string_view(text).substr(at, piece)), at + piece > fifth_end)
            << shown << " in pieces of " << piece << " at " << at;
      }
      ASSERT_EQ(all.Finish(), six) << shown << " in pieces of " << piece;
      ASSERT_EQ(five.Finish(), Lines(six.begin(), six.begin() + 5)) << shown;
    }
  }
  // Only the first line's mark is one; elsewhere it is text like any other.
  EXPECT_EQ(SplitLines(bom + bom + "1\n" + bom + "2"), (Lines{bom + "1", bom + "2"}));
  EXPECT_EQ(std::pair(SplitLines(bom), SplitLines("\r\r\n\n")), std::pair(Lines{}, Lines{"", "", ""}));
}

TEST(PrefsFormatRead, TruncatesSaturatesAndTakesZeroForGarbageOrMissingLines) {
  // Every integer line truncates toward zero; lines after the fifth are gone once rewritten.
  EXPECT_EQ(WriteSettings(ReadSettings({"12.9", "-0.5", "-12.9", "2", "100.99", "6", "junk"})),
            (Lines{"12", "-0.5", "-12", "2", "100"}));
  EXPECT_EQ(WriteSettings(ReadSettings({"-35.7", "0", "0.9", "0", "-0.9"})), (Lines{"-35", "0", "0", "0", "0"}));

  // 2^63 is the first double past the integers; beyond the singles the largest one stands.
  EXPECT_EQ(SettingsBits(ReadSettings({"9223372036854775808", "1e999", "-1e300", "-3.5e38", "9.3e18"})),
            std::tuple(kMax64, 0x7F7FFFFFu, kMin64, 0xFF7FFFFFu, kMax64));
  EXPECT_EQ(ReadSettings({"9223372036854774784"}).Rotn, 9223372036854774784);  // the last double below

  EXPECT_EQ(WriteSettings(ReadSettings({"", "abc", "inf", "nan", "."})), Lines(5, "0"));
  EXPECT_EQ(WriteSettings(ReadSettings({"7"})), (Lines{"7", "0", "0", "0", "0"}));
}

TEST(PrefsFormat, StrGivesTheShortestTextThatReadsBack) {
  // The shortest text of this single, 7.038531e-26, read as a double lands on the midpoint
  // above it and rounds up to 0x15AE43FE; the eight-digit text reads back to 0x15AE43FD.
  EXPECT_EQ(Str(std::bit_cast<float>(0x15AE43FDu)), "7.0385307e-26");
  std::vector<float> singles = {0.0f, -0.0f, FLT_MAX, -FLT_MAX, FLT_MIN, FLT_TRUE_MIN, -FLT_TRUE_MIN};
  for (int v = 2; v <= 1000; ++v) singles.push_back(static_cast<float>(v) / 10000.0f);
  std::mt19937_64 rng(20240611);
  while (singles.size() < 200000) {
    const float f = std::bit_cast<float>(static_cast<uint32_t>(rng()));
    if (std::isfinite(f)) singles.push_back(f);
  }
  // Every integer a double holds exactly survives the double that Val goes through.
  std::uniform_int_distribution<int64_t> exact(-(int64_t{1} << 53), int64_t{1} << 53);
  for (size_t i = 0; i < singles.size(); ++i) {
    const Settings s{i == 0 ? kMin64 : i == 1 ? kMax64 : exact(rng), singles[i], exact(rng),
                     singles[singles.size() - 1 - i], static_cast<int64_t>(i)};
    ASSERT_EQ(SettingsBits(ReadSettings(SplitLines(JoinLines(WriteSettings(s))))), SettingsBits(s))
        << Str(s.Speed) << " " << Str(s.StarSize);
  }
}

// Prefixes that aren't numbers; overflow and underflow are left to the comparison with strtod.
TEST(PrefsFormat, ValTakesTheLeadingNumberOrZero) {
  const std::pair<std::string, uint64_t> cases[] = {
      {"abc", 0}, {"-.", 0}, {"- 5", 0}, {"\n5", 0}, {"e5", 0}, {"0x1A", 0}, {"+-1", 0}, {"nan", 0}, {"-inf", 0},
      {"+.5e1,7", 0x4014000000000000},      // 5
      {"12e", 0x4028000000000000},          // 12
      {"1e+", 0x3FF0000000000000},          // 1
      {"1e-x", 0x3FF0000000000000},         // 1
      {" \t-3.25xyz", 0xC00A000000000000},  // -3.25
      {"0e" + std::string(3000, '9'), 0},  // zero times a huge exponent: never an overflow
  };
  for (const auto& [text, bits] : cases) EXPECT_EQ(Bits(Val(text)), bits) << '"' << text.substr(0, 40) << '"';

  // Well-formed numbers from a fixed seed read as glibc's strtod reads them in the "C" locale,
  // an independent, correctly rounded reader of the same grammar, up to its infinities.
  const locale_t c_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  std::mt19937_64 rng(0x5EED0002);
  const auto digits = [&](size_t most) {
    std::string d(rng() % most, '0');
    const bool zeros = rng() % 4 == 0;  // zero-heavy runs stress where overflow and underflow part
    for (char& c : d) c = static_cast<char>('0' + (zeros && rng() % 8 ? 0 : rng() % 10));
    return d;
  };
  for (int round = 0; round < 20000; ++round) {
    const size_t most = round % 10 == 0 ? 4000 : 25;
    std::string number = rng() % 2 ? "" : rng() % 2 ? "+" : "-";
    number.append(digits(most)).append("7");
    if (rng() % 2) number.append(".").append(digits(most));
    if (rng() % 2) {
      number.append(rng() % 2 ? "e" : "E").append(rng() % 3 == 0 ? "-" : rng() % 2 ? "+" : "");
      number.append(std::to_string(rng() % 400)).append(digits(round % 50 ? 2 : 3000));
    }
    const double expected = strtod_l(number.c_str(), nullptr, c_locale);
    const double held = std::isinf(expected) ? std::copysign(DBL_MAX, expected) : expected;
    ASSERT_EQ(Bits(Val(number + " 1")), Bits(held)) << number.substr(0, 80);
  }
  freelocale(c_locale);
}

TEST(DataFolder, AbsoluteXdgDataHomeElseHomeElseThePasswordDatabase) {
  // XDG_DATA_HOME, HOME, the password database's home, the folder; a relative one is ignored.
  const struct {
    const char *xdg, *home, *passwd, *folder;
  } cases[] = {
      {"/x/data//", "/home/u", "/home/p", "/x/data"}, {nullptr, "/home/u", "/home/p", "/home/u/.local/share"},
      {"", "/home/u/", "/home/p", "/home/u/.local/share"}, {"~/data", "/home/u", "/home/p", "/home/u/.local/share"},
      {nullptr, nullptr, "/home/p", "/home/p/.local/share"}, {nullptr, "", "/home/p", "/home/p/.local/share"},
      {"rel", "home/u", "/home/p", "/home/p/.local/share"}, {nullptr, "/", "/home/p", "/.local/share"},
      {"rel", "", "", ""}, {nullptr, nullptr, "home/p", ""}, {"/", nullptr, nullptr, "/"}};
  for (int i = 0; const auto& c : cases) EXPECT_EQ(DataFolder(c.xdg, c.home, c.passwd), c.folder) << "case " << i++;
}

// A new count or speed sets Timer2's period anew; the command line's options still win over the file.
TEST(FollowPrefs, TheFlightTakesWhatChangedInTheFile) {
  const Settings run{35, 0.0035f, 170, 2.0f, 6000}, held{35, 0.0035f, 170, 2.0f, kStarUpperBound};
  const Settings look{-200, 0.0035f, 60, 6.0f, 6000}, more{35, 0.0035f, 170, 2.0f, 20000},
      faster{35, 0.02f, 170, 2.0f, 6000}, beyond{35, 0.0035f, 170, 2.0f, 90000}, fewer{35, 0.0035f, 170, 6.0f, 100};
  const struct {
    Settings running;
    std::optional<Settings> read;
    SettingOptions options;
    FollowStep step;
  } cases[] = {
      {run, run, {}, {}},
      {run, std::nullopt, {}, {}},  // a file that can't be read keeps what runs
      {run, look, {}, {FollowStep::kChange, look, false}},
      {run, more, {}, {FollowStep::kChange, more, true}},
      {run, faster, {}, {FollowStep::kChange, faster, true}},
      {run, beyond, {}, {FollowStep::kChange, held, true}},  // held to the array, as at take-off
      {held, beyond, {}, {}},
      {run, fewer, {.stars = 6000}, {FollowStep::kChange, {35, 0.0035f, 170, 6.0f, 6000}, false}},
      {run, fewer, {.star_size = 2.0, .stars = 6000}, {}},
  };
  for (int i = 0; const auto& c : cases) EXPECT_EQ(FollowPrefs(c.running, c.read, c.options), c.step) << "case " << i++;
  EXPECT_EQ(UnreadablePrefsLine("/home/u/.local/share/LumoxPrefs"),
            "Can't read the settings file /home/u/.local/share/LumoxPrefs; the flight keeps its settings.");
}

TEST(SettingOptions, EachGivenValueIsReadAsTheFileReadsItAndHeldToItsSlider) {
  const Settings file{9000, 0.5f, 7, 40.0f, 90000};  // a hand-edited file's values, beyond every slider
  const auto with = [&](const SettingOptions& options) { return SettingsBits(WithOptions(file, options)); };
  EXPECT_EQ(with({}), SettingsBits(file));
  // Inside the ranges: truncated to whole numbers, rounded once to single.
  EXPECT_EQ(with({.rotation = -35.9, .speed = 0.0035, .colour_spread = 99.99, .star_size = 2.5, .stars = 1234.7}),
            std::tuple(-35, 0x3B656042u, 99, 0x40200000u, 1234));
  // Beyond them: the sliders' ends, for speed and size the singles nearest 0.0002, 0.1, 0.5 and 15.
  EXPECT_EQ(with({.rotation = -1e9, .speed = 0.0, .colour_spread = -3, .star_size = -1, .stars = 99.9}),
            std::tuple(-2000, Bits(0.0002f), 50, 0x3F000000u, 100));
  EXPECT_EQ(with({.rotation = 2000.5, .speed = 1e300, .colour_spread = 255.9, .star_size = 15.01, .stars = 5e4 + 1}),
            std::tuple(2000, Bits(0.1f), 255, 0x41700000u, 50000));
}

CommandLine Parse(QStringList arguments) {
  arguments.prepend(QStringLiteral("/usr/bin/lumox"));
  return ParseCommandLine(arguments);
}

TEST(CommandLine, OptionsBecomeChoices) {
  const struct {
    QStringList arguments;
    bool help, version, go, window, fps;
    QString screen, error;
  } cases[] = {
      {{}, false, false, false, false, false, "", ""},
      {{"--window"}, false, false, true, true, false, "", ""},  // a windowed flight skips the start window too
      {{"-go", "-fps"}, false, false, true, false, true, "", ""},
      {{"--screen", "1", "--fps"}, false, false, false, false, true, "1", ""},
      {{"--screen=HDMI-2", "--window"}, false, false, true, true, false, "HDMI-2", ""},
      {{"-h"}, true, false, false, false, false, "", ""},
      {{"--version"}, false, true, false, false, false, "", ""},
      // Qt's own options are unknown before Qt takes them out; -reverse is never -r -e -v ...
      {{"-reverse"}, false, false, false, false, false, "", "Unknown option 'reverse'."},
      {{"-platformtheme", "gtk3", "--help"}, true, false, false, false, false, "", "Unknown option 'platformtheme'."},
      {{"--go", "stray"}, false, false, true, false, false, "", "Unexpected argument 'stray'."},
      {{"--screen"}, false, false, false, false, false, "", "Missing value after '--screen'."},
      {{"--screen", ""}, false, false, false, false, false, "", "The screen may not be empty."},
      {{"--fps=on"}, false, false, false, false, true, "", "Unexpected value after '--fps'."},
  };
  for (const auto& c : cases) {
    const CommandLine line = Parse(c.arguments);
    EXPECT_EQ(std::tuple(line.help, line.version, line.go, line.window, line.fps, line.screen, line.error),
              std::tuple(c.help, c.version, c.go, c.window, c.fps, c.screen, c.error))
        << c.arguments.join(' ').toStdString();
  }
}

TEST(CommandLine, ScreensAreFoundByNameFirstThenByNumber) {
  // A screen named "0" wins over the number; a number is digits only.
  const std::pair<const char*, int> cases[] = {{"DP-1", 0}, {"HDMI-2", 1}, {"1", 1}, {"2", 2}, {"0", 2}, {"3", -1},
      {"-1", -1}, {"+1", -1}, {" 1", -1}, {"01", -1}, {"1.0", -1}, {"hdmi-2", -1}, {"", -1}, {"x", -1}};
  for (const auto& [wanted, index] : cases) EXPECT_EQ(FindScreen(wanted, {"DP-1", "HDMI-2", "0"}), index) << wanted;

  EXPECT_EQ(NoSuchScreen("5", {"LEFT", "RIGHT"}), "No screen '5'; the screens are 0 (LEFT), 1 (RIGHT).");
  EXPECT_EQ(NoSuchScreen("x", {""}), "No screen 'x'; the screens are 0.");  // a screen without a name
}

TEST(CommandLine, TheDisplayModeTakesBothSpellingsAndItsSettings) {
  const CommandLine root = Parse({"-root", "-fps", "-speed", "0.01", "--stars=100", "-star-size", "2.5"});
  EXPECT_TRUE(root.root && root.fps && !root.go && !root.window_id && root.error.isEmpty()) << root.error.toStdString();
  EXPECT_EQ(std::tuple(root.settings.speed, root.settings.stars, root.settings.star_size), std::tuple(0.01, 100.0, 2.5));
  EXPECT_FALSE(root.settings.rotation || root.settings.colour_spread);
  const CommandLine id = Parse({"-window-id", "0x2A00003", "--rotation", "-40", "--colour-spread", "90"});
  EXPECT_TRUE(!id.root && id.window_id == 0x2A00003u && id.error.isEmpty()) << id.error.toStdString();
  EXPECT_EQ(std::tuple(id.settings.rotation, id.settings.colour_spread), std::tuple(-40.0, 90.0));
  // Parsed before Qt takes out its own options, the mode is still seen (to choose X11).
  EXPECT_TRUE(Parse({"-display", ":5", "-root"}).root);
  const CommandLine wallpaper = Parse({"--wallpaper", "--layer", "bottom", "--output", "DP-2", "--stars", "500"});
  EXPECT_TRUE(wallpaper.wallpaper && !wallpaper.saver && wallpaper.error.isEmpty()) << wallpaper.error.toStdString();
  EXPECT_EQ(std::make_tuple(wallpaper.layer, wallpaper.output, wallpaper.settings.stars),
            std::make_tuple(1, QString("DP-2"), std::optional<double>(500.0)));
  EXPECT_EQ(std::pair(Parse({"--wallpaper", "--layer=overlay"}).layer, Parse({"--wallpaper"}).layer), std::pair(3, 0));
  EXPECT_TRUE(Parse({"--saver", "--fps"}).saver && Parse({"--saver", "--span"}).span && !Parse({"--saver"}).span);
  EXPECT_TRUE(Parse({"--wallpaper", "--pause-on-battery"}).pause_on_battery && !Parse({"--saver"}).pause_on_battery);

  const char* const kOneMode = "Only one of '--root', '--window-id', '--wallpaper' and '--saver' at a time.";
  const char* const kNotWithModes =
      "'--go', '--window' and '--screen' can't go with '--root', '--window-id', '--wallpaper' or '--saver'.";
  const struct {
    QStringList arguments;
    const char* error;
  } wrong[] = {
      {{"--window-id", "0"}, "'--window-id' needs an X window id, not '0'."},
      {{"--wallpaper", "--saver"}, kOneMode},
      {{"--root", "--go"}, kNotWithModes},  // and so --window, which implies --go
      {{"--window-id", "7", "--screen", "1"}, kNotWithModes},
      {{"--stars", "100"}, "'--stars' goes with '--root', '--window-id', '--wallpaper' or '--saver' only."},
      {{"--wallpaper", "--layer", "desktop"}, "'--layer' is background, bottom, top or overlay, not 'desktop'."},
      {{"--saver", "--layer", "top"}, "'--layer' goes with '--wallpaper' only."},
      {{"--layer", "top"}, "'--layer' goes with '--wallpaper' only."},
      {{"--root", "--output", "HDMI-A-1"}, "'--output' goes with '--wallpaper' or '--saver' only."},
      {{"--saver", "--output="}, "The output may not be empty."},
      {{"--root", "--pause-on-battery"}, "'--pause-on-battery' goes with '--wallpaper' or '--saver' only."},
      {{"--go", "--span"}, "'--span' goes with '--wallpaper' or '--saver' only."},
      {{"--root", "--speed", "fast"}, "'--speed' needs a number, not 'fast'."},
      {{"--root", "--star-size", "inf"}, "'--star-size' needs a number, not 'inf'."},
  };
  for (const auto& c : wrong) EXPECT_EQ(Parse(c.arguments).error, c.error) << c.arguments.join(' ').toStdString();
}

TEST(CommandLine, WindowIdsAreDecimalOrHexAndNothingElse) {
  for (const auto& [text, id] : {std::pair{"42", 42u}, {"010", 10u}, {"0x2a", 42u}, {"0X2A", 42u},  // 010: not octal
                                 {"4294967295", 4294967295u}, {"0xffffffff", 4294967295u}})
    EXPECT_EQ(ParseWindowId(text), id) << text;
  for (const char* text : {"", "0", "0x0", "0x", "-5", "+5", " 5", "5 ", "2a", "0xg", "0x0x5", "1e3", "4294967296",
                           "0x100000000", "\u0664\u0662"})  // the last: Arabic-Indic digits
    EXPECT_EQ(ParseWindowId(QString::fromUtf8(text)), std::nullopt) << text;
}

TEST(Placement, AFrameIsMovedOntoTheAreaAsLittleAsPossibleAndKeepsItsStartWhenTooLong) {
  EXPECT_EQ(FitSpan(-20, 445, 0, 480), 0);      // title bar above the top
  EXPECT_EQ(FitSpan(100, 445, 0, 480), 35);     // bottom below the screen
  EXPECT_EQ(FitSpan(10, 445, 0, 480), 10);      // fits: left alone
  EXPECT_EQ(FitSpan(-50, 600, 24, 480), 24);    // longer than the area: its start on the area
  EXPECT_EQ(FitSpan(700, 322, 640, 640), 700);  // a second screen's area, offset
}

// Each script: events fed to the plan, each with the request it must give back ("-" for none).
// Events: show, hide, grant, gone (refused: no service), fail (refused otherwise).
void Play(const char* title, const std::vector<std::pair<std::string, std::string>>& script) {
  InhibitPlan plan;
  for (size_t i = 0; i < script.size(); ++i) {
    const auto& [event, want] = script[i];
    const std::optional<InhibitStep> step = event == "show"    ? plan.SetShown(true)
                                            : event == "hide"  ? plan.SetShown(false)
                                            : event == "grant" ? plan.Granted()
                                            : event == "gone"  ? plan.Refused(InhibitRefusal::NoService)
                                                               : plan.Refused(InhibitRefusal::Other);
    std::string got = "-";
    if (step) {
      got = step->kind == InhibitStep::Kind::Ask ? "ask " : "release ";
      got += step->route == InhibitRoute::ScreenSaver ? "ss" : step->route == InhibitRoute::ScreenSaverOldPath ? "old" : "portal";
    }
    EXPECT_EQ(got, want) << title << ", line " << i << " (" << event << ")";
  }
}

TEST(InhibitPlan, HoldsWhileShownWithOneRequestInFlightAndFallsBackToThePortal) {
  Play("minimise and restore", {{"show", "ask ss"}, {"grant", "-"}, {"show", "-"}, {"hide", "release ss"},
                               {"hide", "-"}, {"show", "ask ss"}, {"grant", "-"}, {"hide", "release ss"}});
  Play("minimised while asking: the late grant is given back", {{"show", "ask ss"}, {"hide", "-"},
                                                               {"grant", "release ss"}, {"show", "ask ss"}});
  Play("minimised and restored while asking: the grant is kept",
      {{"show", "ask ss"}, {"hide", "-"}, {"show", "-"}, {"grant", "-"}, {"hide", "release ss"}});
  Play("answers to nothing asked change nothing", {{"grant", "-"}, {"gone", "-"}, {"hide", "-"}, {"show", "ask ss"},
                                                  {"grant", "-"}, {"grant", "-"}, {"fail", "-"}, {"hide", "release ss"}});
  Play("no screensaver service: straight to the portal",
      {{"show", "ask ss"}, {"gone", "ask portal"}, {"grant", "-"}, {"hide", "release portal"}, {"show", "ask ss"}});
  Play("the service without the usual object: its old path, then the portal",
      {{"show", "ask ss"}, {"fail", "ask old"}, {"grant", "-"}, {"hide", "release old"},
       {"show", "ask ss"}, {"fail", "ask old"}, {"fail", "ask portal"}, {"fail", "-"}, {"hide", "-"},
       {"show", "ask ss"}, {"fail", "ask old"}, {"gone", "ask portal"}, {"gone", "-"}});
  Play("refused while minimised: nothing more until shown again",
      {{"show", "ask ss"}, {"hide", "-"}, {"gone", "-"}, {"grant", "-"}, {"show", "ask ss"}});
}

using C = OutputChange;

TEST(OutputPlan, OutputsComeAndGoAndOnlyTheirOwnFlightsChangeOrTheWantedOnesAlone) {
  OutputPlan plan;
  for (uint32_t output : {7u, 3u}) plan.Added(output);
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
  EXPECT_TRUE(plan.Names().empty() && !plan.WantedPresent());  // none left: the host waits for one
  plan.Added(9);
  EXPECT_EQ(plan.Described(9, "DP-3"), (std::vector<C>{{C::kFly, 9}}));

  // One wanted output alone flies, and a rename follows it.
  plan = OutputPlan("DP-2");
  for (uint32_t output : {1u, 2u}) plan.Added(output);
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

using E = DesktopEffect;
const DesktopEffects kNone;

// A core whose outputs 1 and 2 are described before the start, as a backend's first roundtrip does.
DesktopCore Begun(DesktopRole role, std::string wanted = {}) {
  DesktopCore core(role, std::move(wanted));
  for (uint32_t output : {1u, 2u}) {
    EXPECT_EQ(core.Added(output), kNone);
    EXPECT_EQ(core.Described(output, "OUT-" + std::to_string(output)), kNone);  // nothing flies before the start
  }
  return core;
}

TEST(DesktopCore, TheFlightsStartTogetherAndFollowTheOutputs) {
  DesktopCore core = Begun(DesktopRole::kWallpaper);
  EXPECT_EQ(core.Started(0), (DesktopEffects{{E::kFly, 1}, {E::kFly, 2}}));  // and no grab: the saver's alone
  core.Added(3);
  EXPECT_EQ(core.Described(3, "OUT-3"), (DesktopEffects{{E::kFly, 3}}));
  EXPECT_EQ(core.Removed(1), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ(core.Reshaped(2), (DesktopEffects{{E::kLand, 2}, {E::kFly, 2}}));  // made anew at once
  EXPECT_EQ(core.Reshaped(1), kNone);
  // Input is the saver's business alone.
  for (InputKind kind : {InputKind::kKey, InputKind::kButton, InputKind::kWheel, InputKind::kTouch})
    EXPECT_EQ(core.Input({kind}), kNone);
  EXPECT_EQ(core.NextDue(), -1);

  EXPECT_EQ(Begun(DesktopRole::kWallpaper, "OUT-2").Started(0), (DesktopEffects{{E::kFly, 2}}));
  DesktopCore none = Begun(DesktopRole::kSaver, "DP-9");
  EXPECT_EQ(none.Started(0), (DesktopEffects{{E::kEnd, 0, 2, "No output 'DP-9'; the outputs are OUT-1, OUT-2."}}));
  EXPECT_EQ(none.Input({InputKind::kKey}), kNone);  // it ended once
}

TEST(DesktopCore, ASurfaceTheServerClosesIsMadeAnewAfterAPause) {
  DesktopCore core = Begun(DesktopRole::kWallpaper);
  core.Started(0);
  EXPECT_EQ(core.Closed(1, 500), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ(core.Closed(1, 600), kNone);  // closed again meanwhile: still one remake
  EXPECT_EQ(core.Covered(1, false), kNone);  // no flight to resume while it waits
  EXPECT_EQ(core.NextDue(), 500 + DesktopCore::kRemakePause);
  EXPECT_EQ(core.Tick(500 + DesktopCore::kRemakePause - 1), kNone);
  EXPECT_EQ(core.Tick(500 + DesktopCore::kRemakePause), (DesktopEffects{{E::kFly, 1}}));
  EXPECT_EQ(core.NextDue(), -1);
  // A server that keeps closing it gets one surface a second.
  EXPECT_EQ(core.Closed(1, 1500), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ((std::pair{core.Tick(2499), core.Tick(2500)}), std::pair(kNone, DesktopEffects{{E::kFly, 1}}));
  // An output that goes while its surface waits is not made anew.
  core.Closed(2, 3000);
  EXPECT_EQ((std::pair{core.Removed(2), core.Tick(5000)}), std::pair(kNone, kNone));
}

TEST(DesktopCore, HeldEveryOutputStandsStillAndLetGoOnlyTheUncoveredFly) {
  DesktopCore core = Begun(DesktopRole::kWallpaper);
  EXPECT_EQ(core.Held(true), kNone);  // nothing flies yet, but what takes off stands still
  EXPECT_TRUE(core.Still(1));
  EXPECT_EQ(core.Started(0), (DesktopEffects{{E::kFly, 1}, {E::kFly, 2}}));
  EXPECT_EQ(core.Held(false), (DesktopEffects{{E::kResume, 1}, {E::kResume, 2}}));
  EXPECT_FALSE(core.Still(1));

  EXPECT_EQ(core.Covered(7, true), kNone);  // no such output
  EXPECT_EQ(core.Covered(2, true), (DesktopEffects{{E::kPause, 2}}));
  EXPECT_EQ(core.Held(true), (DesktopEffects{{E::kPause, 1}}));  // 2 stands still already
  EXPECT_EQ(core.Held(true), kNone);                              // said twice
  EXPECT_EQ(core.Covered(1, true), kNone);                        // held already
  EXPECT_EQ(core.Covered(1, false), kNone);                       // uncovered, but still held
  EXPECT_TRUE(core.Still(1));
  EXPECT_EQ(core.Held(false), (DesktopEffects{{E::kResume, 1}}));  // 2 is still covered
  EXPECT_TRUE(core.Still(2) && !core.Still(1));
  EXPECT_EQ(core.Covered(2, false), (DesktopEffects{{E::kResume, 2}}));

  // A surface made anew while held takes off still; it has no flight to pause meanwhile.
  core.Held(true);
  EXPECT_EQ(core.Closed(1, 100), (DesktopEffects{{E::kLand, 1}}));
  EXPECT_EQ(core.Held(false), (DesktopEffects{{E::kResume, 2}}));
  core.Held(true);
  EXPECT_EQ(core.Tick(100 + DesktopCore::kRemakePause), (DesktopEffects{{E::kFly, 1}}));
  EXPECT_TRUE(core.Still(1));
}

TEST(DesktopCore, TheSaverEndsOnAnyPressAndOnAPointerThatMovesAway) {
  for (InputKind kind : {InputKind::kKey, InputKind::kButton, InputKind::kWheel, InputKind::kTouch}) {
    DesktopCore core = Begun(DesktopRole::kSaver);
    core.Started(0);
    EXPECT_EQ(core.Input({kind}), (DesktopEffects{{E::kEnd, 0, 0, ""}})) << int(kind);
    EXPECT_EQ(core.Input({kind}), kNone);  // once
    EXPECT_TRUE(core.Ended());
  }
  DesktopCore core = Begun(DesktopRole::kSaver);
  core.Started(0);
  EXPECT_EQ(core.Input({InputKind::kMotion, 1, 10.0, 10.0}), kNone);  // where it was at the start
  EXPECT_EQ(core.Input({InputKind::kMotion, 1, 15.0, 16.0}), kNone);
  EXPECT_EQ(core.Input({InputKind::kMotion, 1, 16.0, 16.0}), (DesktopEffects{{E::kEnd, 0, 0, ""}}));
  EXPECT_EQ(Begun(DesktopRole::kWallpaper).Signal(), (DesktopEffects{{E::kEnd, 0, 0, ""}}));
  EXPECT_EQ(Begun(DesktopRole::kWallpaper).Lost("the Wayland compositor"),
            (DesktopEffects{{E::kEnd, 0, 1, "The Wayland compositor has gone away."}}));
  EXPECT_EQ(Begun(DesktopRole::kWallpaper).Failed("it broke"), (DesktopEffects{{E::kEnd, 0, 1, "it broke"}}));
}

TEST(DesktopCore, TheSaversGrabIsAskedForUntilItHoldsAndTakenAgainWhereverItsSurfaceGoes) {
  DesktopCore core = Begun(DesktopRole::kSaver);
  EXPECT_EQ(core.Started(1000), (DesktopEffects{{E::kFly, 1}, {E::kFly, 2}, {E::kGrab, 1}}));
  EXPECT_EQ(core.Grabbed(false, 1000), kNone);
  EXPECT_EQ(core.NextDue(), 1000 + DesktopCore::kGrabRetry);
  EXPECT_EQ(core.Tick(1000 + DesktopCore::kGrabRetry), (DesktopEffects{{E::kGrab, 1}}));
  EXPECT_EQ(core.Grabbed(true, 1060), kNone);
  EXPECT_EQ(core.NextDue(), -1);
  // Its surface made anew takes the grab again; the output gone, the next one takes it.
  EXPECT_EQ(core.Reshaped(1), (DesktopEffects{{E::kLand, 1}, {E::kFly, 1}, {E::kGrab, 1}}));
  core.Grabbed(true, 1100);
  EXPECT_EQ(core.Closed(1, 1200), (DesktopEffects{{E::kLand, 1}, {E::kGrab, 2}}));
  core.Grabbed(true, 1200);
  EXPECT_EQ(core.Tick(2200), (DesktopEffects{{E::kFly, 1}}));  // back, but 2 holds the grab
  EXPECT_EQ(core.Removed(2), (DesktopEffects{{E::kLand, 2}, {E::kGrab, 1}}));

  // Another program holds them: the saver gives up after a while, in one line.
  DesktopCore held = Begun(DesktopRole::kSaver);
  held.Started(0);
  int64_t now = 0;
  DesktopEffects told;
  for (int asked = 0; asked < 1000 && (told = held.Grabbed(false, now)).empty(); ++asked) {
    now = held.NextDue();
    ASSERT_EQ(held.Tick(now), (DesktopEffects{{E::kGrab, 1}})) << now;
  }
  EXPECT_EQ(now, DesktopCore::kGrabPatience);  // asked every kGrabRetry until then
  EXPECT_EQ(told, (DesktopEffects{{E::kEnd, 0, 1, desktop_line::GrabTaken()}}));
}

TEST(DisplayChoice, TheDesktopModesTakeWhatAnswersWhateverQtWasToldAndTheWindowsFollowQt) {
  const auto facts = [](std::string platform, std::string wayland, std::string x, bool wayland_lives, bool x_lives) {
    return DisplayFacts{platform, wayland, "", x, "", [=](const std::string&) { return wayland_lives; },
                        [=](const std::string&) { return x_lives; }};
  };
  using C = DisplayChoice;
  using U = DisplayUse;
  const struct {
    U use;
    DisplayFacts facts;
    C::Host host;
    std::string platform, error;
  } cases[] = {
      {U::kDesktop, facts("xcb", "wayland-1", ":0", true, true), C::kWayland, "offscreen", ""},
      {U::kDesktop, facts("", "wayland-1", ":0", false, true), C::kX11, "xcb", ""},
      {U::kDesktop, facts("wayland", "", ":0", false, true), C::kX11, "xcb", ""},
      {U::kDesktop, facts("", "w", ":3", false, false), C::kQt, "", "Neither the Wayland display 'w' nor the X display ':3' can be reached."},
      {U::kDesktop, facts("", "w", "", false, false), C::kQt, "", "The Wayland display 'w' can't be reached."},
      {U::kDesktop, facts("", "", "", true, true), C::kQt, "", desktop_line::NoDisplay()},
      {U::kWindows, facts("", "wayland-1", ":0", true, true), C::kQt, "", ""},
      {U::kWindows, facts("", "wayland-1", ":0", false, true), C::kQt, "xcb", ""},
      {U::kWindows, facts("xcb", "wayland-1", ":0", true, false), C::kQt, "", "The X display ':0' can't be reached."},
      {U::kWindows, facts("offscreen", "", "", false, false), C::kQt, "", ""},
      {U::kX11Window, facts("", "wayland-1", ":0", true, true), C::kQt, "xcb", ""},
  };
  for (int i = 0; const auto& c : cases) {
    const DisplayChoice choice = ChooseDisplay(c.use, c.facts);
    EXPECT_EQ(std::tuple(choice.host, choice.qt_platform, choice.error), std::tuple(c.host, c.platform, c.error)) << i++;
  }
  DisplayFacts handed = facts("", "", "", false, false);
  handed.wayland_socket = "5";
  EXPECT_EQ(ChooseDisplay(DisplayUse::kDesktop, handed).host, C::kWayland);
}

TEST(SurfaceScale, TheBufferIsTheSurfaceAtTheScaleRoundedHalfAwayFromZero) {
  // 50 at 1.15 is 57.5, where the product in doubles comes out just under the half.
  for (const auto& [length, scale, buffer] : {std::tuple{1280, 180, 1920}, {720, 180, 1080}, {1536, 150, 1920},
           {1279, 180, 1919}, {1, 179, 1}, {50, 138, 58}, {49, 138, 56}, {800, WholeScale(2), 1600}, {1024, kScaleOne, 1024}})
    EXPECT_EQ(BufferLength(length, scale), buffer) << length << " at " << scale;
  EXPECT_EQ(std::tuple(ScaleRatio(180), ScaleRatio(150), ScaleRatio(WholeScale(3))), std::tuple(1.5, 1.25, 3.0));
  EXPECT_EQ(WholeScale(0), kScaleOne);  // a compositor's 0 draws as scale 1
}

}  // namespace
}  // namespace lumox
