#include "settings/prefs_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "starfield/star_field.h"

namespace lumox {
namespace {

constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin64 = std::numeric_limits<int64_t>::min();

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }
uint64_t Bits(double d) { return std::bit_cast<uint64_t>(d); }

Settings ThroughFile(const Settings& s) {
  return ReadSettings(SplitLines(JoinLines(WriteSettings(s))));
}

TEST(PrefsFormatFile, DefaultFileOfA1440WideScreen) {
  EXPECT_EQ(JoinLines(WriteSettings(DefaultSettings(1440))), "35\n0.0035\n170\n1.44\n21600\n");
  const Settings back = ReadSettings(SplitLines("35\n0.0035\n170\n1.44\n21600\n"));
  EXPECT_EQ(back.Rotn, 35);
  EXPECT_EQ(Bits(back.Speed), 0x3B656042u);     // the single nearest 0.0035
  EXPECT_EQ(back.ColourSpread, 170);
  EXPECT_EQ(Bits(back.StarSize), 0x3FB851ECu);  // the single nearest 1.44
  EXPECT_EQ(back.StarMax, 21600);
}

TEST(PrefsFormatRead, IntegerLinesTruncateTowardZero) {
  const Settings s = ReadSettings({"-35", "0.5", "12.9", "2", "-12.9"});
  EXPECT_EQ(s.Rotn, -35);
  EXPECT_EQ(s.ColourSpread, 12);
  EXPECT_EQ(s.StarMax, -12);
}

TEST(PrefsFormatRead, EmptyMissingAndNonNumericLinesGiveZero) {
  const Settings garbage = ReadSettings({"", "abc", "inf", "nan", "."});
  const Settings missing = ReadSettings({"7"});
  const Settings none = ReadSettings({});
  for (const Settings& s : {garbage, missing, none}) {
    EXPECT_EQ(Bits(s.Speed), 0u);
    EXPECT_EQ(s.ColourSpread, 0);
    EXPECT_EQ(Bits(s.StarSize), 0u);
    EXPECT_EQ(s.StarMax, 0);
  }
  EXPECT_EQ(garbage.Rotn, 0);
  EXPECT_EQ(missing.Rotn, 7);
  EXPECT_EQ(none.Rotn, 0);
}

TEST(PrefsFormatRead, LinesAfterTheFifthAreIgnored) {
  const Settings s = ReadSettings({"1", "2", "3", "4", "5", "6", "junk", ""});
  EXPECT_EQ(s.Rotn, 1);
  EXPECT_EQ(s.Speed, 2.0f);
  EXPECT_EQ(s.ColourSpread, 3);
  EXPECT_EQ(s.StarSize, 4.0f);
  EXPECT_EQ(s.StarMax, 5);
  EXPECT_EQ(WriteSettings(s), (std::vector<std::string>{"1", "2", "3", "4", "5"}));
}

TEST(PrefsFormatRead, OutOfRangeValuesSaturate) {
  const Settings s = ReadSettings({"1e30", "1e999", "-1e300", "-3.5e38", "9.3e18"});
  EXPECT_EQ(s.Rotn, kMax64);
  EXPECT_EQ(Bits(s.Speed), 0x7F7FFFFFu);     // FLT_MAX
  EXPECT_EQ(s.ColourSpread, kMin64);
  EXPECT_EQ(Bits(s.StarSize), 0xFF7FFFFFu);  // -FLT_MAX
  EXPECT_EQ(s.StarMax, kMax64);
}

TEST(PrefsFormatLines, SplitAcceptsBothLineEnds) {
  const std::vector<std::string> five = {"35", "0.0035", "170", "1.44", "21600"};
  EXPECT_EQ(SplitLines("35\r\n0.0035\r\n170\r\n1.44\r\n21600\r\n"), five);
  EXPECT_EQ(SplitLines("35\n0.0035\n170\n1.44\n21600\n"), five);
  EXPECT_EQ(SplitLines("35\r\n0.0035\n170\r\n1.44\n21600"), five);
  EXPECT_EQ(SplitLines(""), std::vector<std::string>{});
  EXPECT_EQ(SplitLines("\r\n"), std::vector<std::string>{""});
  EXPECT_EQ(SplitLines("a\n\nb\n\n"), (std::vector<std::string>{"a", "", "b", ""}));
  EXPECT_EQ(JoinLines({"a", "", "b"}), "a\n\nb\n");
}

TEST(PrefsFormatStr, IntegersAndShortestSingles) {
  EXPECT_EQ(Str(int64_t{0}), "0");
  EXPECT_EQ(Str(int64_t{-35}), "-35");
  EXPECT_EQ(Str(kMax64), "9223372036854775807");
  EXPECT_EQ(Str(kMin64), "-9223372036854775808");

  EXPECT_EQ(Str(std::bit_cast<float>(0x3B656042u)), "0.0035");
  EXPECT_EQ(Str(std::bit_cast<float>(0x3FB851ECu)), "1.44");
  EXPECT_EQ(Str(std::bit_cast<float>(0x3DCCCCCDu)), "0.1");
  EXPECT_EQ(Str(15.0f), "15");
  EXPECT_EQ(Str(0.5f), "0.5");
  EXPECT_EQ(Str(-0.5f), "-0.5");
  // The shortest text of this single, 7.038531e-26, read as a double lands on the midpoint
  // above it and rounds up to 0x15AE43FE; the eight-digit text reads back to 0x15AE43FD.
  EXPECT_EQ(Str(std::bit_cast<float>(0x15AE43FDu)), "7.0385307e-26");
  EXPECT_EQ(Str(std::bit_cast<float>(0x95AE43FDu)), "-7.0385307e-26");

  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(Bits(ToSingle(Val(Str(inf)))), 0x7F7FFFFFu);
  EXPECT_EQ(Bits(ToSingle(Val(Str(-inf)))), 0xFF7FFFFFu);
  EXPECT_EQ(Str(std::numeric_limits<float>::quiet_NaN()), "0");
}

TEST(PrefsFormatRoundTrip, SlidersRandomSinglesAndIntegers) {
  std::vector<float> singles;
  for (int v = 2; v <= 1000; ++v) singles.push_back(static_cast<float>(v) / 10000.0f);
  for (int v = 5; v <= 150; ++v) singles.push_back(static_cast<float>(v) / 10.0f);
  singles.insert(singles.end(),
                 {0.0f, -0.0f, FLT_MAX, -FLT_MAX, FLT_MIN, FLT_TRUE_MIN, -FLT_TRUE_MIN});
  std::mt19937_64 rng(20240611);
  while (singles.size() < 200000) {
    const float f = std::bit_cast<float>(static_cast<uint32_t>(rng()));
    if (std::isfinite(f)) singles.push_back(f);
  }
  // Every integer a double holds exactly survives the double that Val goes through.
  std::uniform_int_distribution<int64_t> exact(-(int64_t{1} << 53), int64_t{1} << 53);
  for (size_t i = 0; i < singles.size(); ++i) {
    Settings s;
    s.Rotn = i == 0 ? kMin64 : i == 1 ? kMax64 : exact(rng);
    s.Speed = singles[i];
    s.ColourSpread = exact(rng);
    s.StarSize = singles[singles.size() - 1 - i];
    s.StarMax = static_cast<int64_t>(i);
    const Settings back = ThroughFile(s);
    ASSERT_EQ(back.Rotn, s.Rotn) << i;
    ASSERT_EQ(Bits(back.Speed), Bits(s.Speed)) << Str(s.Speed);
    ASSERT_EQ(back.ColourSpread, s.ColourSpread) << i;
    ASSERT_EQ(Bits(back.StarSize), Bits(s.StarSize)) << Str(s.StarSize);
    ASSERT_EQ(back.StarMax, s.StarMax) << i;
  }
}

TEST(PrefsFormatVal, LeadingNumberOrZero) {
  struct Case {
    std::string text;
    uint64_t bits;
  };
  const std::string zeros400(400, '0');
  const std::string nines3000(3000, '9');
  const Case cases[] = {
      {"", 0}, {"abc", 0}, {"inf", 0}, {"nan", 0}, {"-", 0}, {"+", 0}, {".", 0}, {"-.", 0},
      {"- 5", 0}, {"\n5", 0}, {"e5", 0},
      {"0x1A", 0},
      {".5", 0x3FE0000000000000},                // 0.5
      {"5.", 0x4014000000000000},                // 5
      {"12e", 0x4028000000000000},               // 12
      {"1e+", 0x3FF0000000000000},               // 1
      {"1e-x", 0x3FF0000000000000},              // 1
      {" \t-3.25xyz", 0xC00A000000000000},       // -3.25
      {"+7", 0x401C000000000000},                // 7
      {"12.5e-1", 0x3FF4000000000000},           // 1.25
      {"1E2", 0x4059000000000000},               // 100
      {"-0", 0x8000000000000000},                // -0.0
      {"1e999", 0x7FEFFFFFFFFFFFFF},             // DBL_MAX
      {"-1e999", 0xFFEFFFFFFFFFFFFF},            // -DBL_MAX
      {"1e-400", 0},
      {"-1e-400", 0x8000000000000000},
      {"4e-320", 0x1FA0},                        // subnormal nearest 4e-320
      {"0." + std::string(5000, '1'), 0x3FBC71C71C71C71C},  // nearest 1/9
      {"1" + zeros400 + "e-300", 0x54B249AD2594C37D},       // nearest 1e100
      {"1" + zeros400 + "e-50", 0x7FEFFFFFFFFFFFFF},        // 1e350 overflows
      {"0." + std::string(500, '0') + "1e+100", 0},         // 1e-401 underflows
      {"0." + zeros400 + "1e+402", 0x4024000000000000},     // 10
      {"1e" + nines3000, 0x7FEFFFFFFFFFFFFF},
      {"1e-" + nines3000, 0},
      {"0e" + nines3000, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Bits(Val(c.text)), c.bits) << '"' << c.text.substr(0, 40) << '"';
  }
}

}  // namespace
}  // namespace lumox
