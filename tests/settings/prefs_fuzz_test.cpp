#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <locale.h>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "settings/prefs_format.h"
#include "starfield/star_field.h"

namespace lumox {
namespace {

// Hostile settings-file lines from a fixed seed, so a failure can be replayed.
class LineMaker {
 public:
  explicit LineMaker(uint64_t seed) : rng_(seed) {}

  size_t Below(size_t n) { return static_cast<size_t>(rng_() % n); }

  std::string Digits(size_t count) {
    const bool zero_heavy = Below(4) == 0;  // long zero runs stress the overflow/underflow split
    std::string s;
    for (size_t i = 0; i < count; ++i) {
      s += zero_heavy && Below(8) != 0 ? '0' : static_cast<char>('0' + Below(10));
    }
    return s;
  }

  size_t DigitCount() {
    switch (Below(10)) {
      case 0: return 0;
      case 1: return 1000 + Below(3000);
      case 2: return Below(40);
      default: return 1 + Below(6);
    }
  }

  // A complete decimal number in every form the reader takes.
  std::string Number() {
    std::string s;
    if (const size_t sign = Below(3); sign > 0) s += sign == 1 ? '+' : '-';
    std::string mantissa = Digits(DigitCount());
    if (Below(2) == 0) mantissa += "." + Digits(DigitCount());
    if (mantissa.find_first_of("0123456789") == std::string::npos) {
      mantissa.insert(0, 1, static_cast<char>('0' + Below(10)));
    }
    s += mantissa;
    switch (Below(6)) {
      case 0:
        s += Below(2) ? "e" : "E";
        s += std::to_string(static_cast<int64_t>(Below(900)) - 450);
        break;
      case 1: s += "e+" + Digits(1 + Below(Below(20) == 0 ? 3000 : 25)); break;
      case 2: s += "e-" + Digits(1 + Below(4)); break;
      default: break;
    }
    return s;
  }

  std::string Bytes() {
    std::string s(Below(40), '\0');
    for (char& c : s) c = static_cast<char>(Below(256));
    return s;
  }

  std::string Line() {
    using namespace std::string_view_literals;
    static const std::string_view kTokens[] = {
        "nan"sv, "NaN"sv, "-nan"sv, "inf"sv, "-inf"sv, "+Infinity"sv, "1e999"sv, "-1e999"sv,
        "1e-999"sv, "+"sv, "-"sv, "."sv, "-."sv, "+-1"sv, "e5"sv, "1e"sv, "1e+"sv, "--5"sv,
        "0x1p3"sv, "0X1A"sv, "1,5"sv, " "sv, "\t\t"sv, "\r"sv, "\0"sv, "\0\x80"sv, "\xff\xfe"sv,
        "1.7976931348623157e308"sv, "3.4028236e38"sv, "-3.5e38"sv, "9223372036854775807"sv,
        "-9223372036854775809"sv, "1e19"sv, "4.9e-324"sv, "2e-324"sv};
    switch (Below(6)) {
      case 0: return Bytes();
      case 1: return std::string(kTokens[Below(std::size(kTokens))]);
      case 2: return Number() + std::string(kTokens[Below(std::size(kTokens))]) + Bytes();
      case 3: return Str(std::bit_cast<float>(static_cast<uint32_t>(rng_())));
      case 4: return Str(static_cast<int64_t>(rng_()));
      default: {
        const char blank = Below(2) ? ' ' : '\t';
        return std::string(Below(4), blank) + Number();
      }
    }
  }

  std::vector<std::string> Lines() {
    std::vector<std::string> lines(Below(20) == 0 ? 200 + Below(300) : Below(9));
    for (std::string& line : lines) line = Line();
    return lines;
  }

 private:
  std::mt19937_64 rng_;
};

TEST(PrefsFuzz, HostileFilesGiveFiniteSettingsThatSurviveRewriting) {
  LineMaker maker(0x5EED0001);
  for (int round = 0; round < 20000; ++round) {
    const std::vector<std::string> lines = maker.Lines();
    for (const std::string& line : lines) ASSERT_TRUE(std::isfinite(Val(line))) << round;
    const Settings s = ReadSettings(lines);
    ASSERT_TRUE(std::isfinite(s.Speed)) << round;
    ASSERT_TRUE(std::isfinite(s.StarSize)) << round;
    ASSERT_LE(HoldStarMax(s.StarMax), 50000) << round;

    const Settings back = ReadSettings(SplitLines(JoinLines(WriteSettings(s))));
    ASSERT_EQ(back.Rotn, s.Rotn) << round;
    ASSERT_EQ(std::bit_cast<uint32_t>(back.Speed), std::bit_cast<uint32_t>(s.Speed)) << round;
    ASSERT_EQ(back.ColourSpread, s.ColourSpread) << round;
    ASSERT_EQ(std::bit_cast<uint32_t>(back.StarSize), std::bit_cast<uint32_t>(s.StarSize)) << round;
    ASSERT_EQ(back.StarMax, s.StarMax) << round;
  }
}

// glibc's strtod in the "C" locale is an independent, correctly rounded reader of the same
// grammar; only its infinities differ, which the reader holds at the largest double.
TEST(PrefsFuzz, NumbersReadLikeTheCLibraryAndStopAtTheirEnd) {
  const locale_t c_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  ASSERT_NE(c_locale, static_cast<locale_t>(nullptr));
  LineMaker maker(0x5EED0002);
  for (int round = 0; round < 20000; ++round) {
    const std::string number = maker.Number();
    char* end = nullptr;
    double expected = strtod_l(number.c_str(), &end, c_locale);
    ASSERT_EQ(end, number.c_str() + number.size()) << number;
    if (std::isinf(expected)) expected = std::copysign(1.7976931348623157e308, expected);
    const uint64_t bits = std::bit_cast<uint64_t>(expected);
    ASSERT_EQ(std::bit_cast<uint64_t>(Val(number)), bits) << number.substr(0, 80);
    const std::string tail = std::string(1, " x,+-\r\0\xff"[maker.Below(8)]) + maker.Bytes();
    ASSERT_EQ(std::bit_cast<uint64_t>(Val(number + tail)), bits) << number.substr(0, 80);
  }
  freelocale(c_locale);
}

}  // namespace
}  // namespace lumox
