// The settings window's keys, the file's format and folder, a flight following it, the options over it.
#include <gtest/gtest.h>
#include <locale.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <string_view>
#include <tuple>
#include <vector>

#include "settings/data_folder.h"
#include "settings/prefs_follow.h"
#include "settings/prefs_format.h"
#include "settings/prefs_keys.h"
#include "settings/setting_options.h"
#include "support/core_helpers.h"

namespace lumox {
namespace {

using PrefsKind = PrefsKeyEffect::Kind;
using PrefsEffects = std::vector<PrefsKeyEffect>;

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

  // Escape comes first and the arrows still act. ~0.0975 at 50000 stars: 19 (19.5) and 975, not 20 and 1000.
  r = PrefsKeyDown(Keys({kKeyDown, kKeyEscape, kKeyRight}), 35, FromBits(kCeilingBits), 50000);
  EXPECT_EQ(r.Rotn, 55);
  EXPECT_EQ(r.effects, (PrefsEffects{{PrefsKind::MinimizeAndResize}, {PrefsKind::SetSlider4, 55},
                                     {PrefsKind::SetTimer2Period, 19}, {PrefsKind::SetSlider1, 975}}));
}

using Lines = std::vector<std::string>;
constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max(), kMin64 = std::numeric_limits<int64_t>::min();

auto SettingsBits(const Settings& s) { return std::tuple(s.Rotn, Bits(s.Speed), s.ColourSpread, Bits(s.StarSize), s.StarMax); }

// Files from editors on other systems, read in pieces cut anywhere (even inside a CR LF or the mark).
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
  // The shortest text, 7.038531e-26, lands as a double on the midpoint above this single and rounds up.
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
  const std::pair<std::string, double> cases[] = {
      {"abc", 0}, {"-.", 0}, {"- 5", 0}, {"\n5", 0}, {"e5", 0}, {"0x1A", 0}, {"+-1", 0}, {"nan", 0}, {"-inf", 0},
      {"+.5e1,7", 5}, {"12e", 12}, {"1e+", 1}, {"1e-x", 1}, {" \t-3.25xyz", -3.25},
      {"0e" + std::string(3000, '9'), 0},  // zero times a huge exponent: never an overflow
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(Bits(Val(text)), Bits(value)) << '"' << text.substr(0, 40) << '"';

  // Well-formed numbers from a fixed seed read as glibc's correctly rounded strtod does, up to its infinities.
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

}  // namespace
}  // namespace lumox
