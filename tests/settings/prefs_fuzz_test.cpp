#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <locale.h>
#include <random>
#include <string>
#include <vector>

#include "settings/prefs_format.h"
#include "starfield/star_field.h"

namespace lumox {
namespace {

// Hostile settings-file lines from a fixed seed, so a failure can be replayed.
struct LineMaker {
  std::mt19937_64 rng;

  size_t Below(size_t n) { return static_cast<size_t>(rng() % n); }

  // Zero-heavy runs stress where overflow and underflow part.
  std::string Digits(size_t count) {
    const bool zero_heavy = Below(4) == 0;
    std::string s;
    while (s.size() < count) s += zero_heavy && Below(8) != 0 ? '0' : static_cast<char>('0' + Below(10));
    return s;
  }

  // Mostly short, sometimes none or thousands of digits.
  std::string SomeDigits() {
    const size_t kind = Below(10);
    return Digits(kind == 0 ? 0 : kind == 1 ? 1000 + Below(3000) : kind == 2 ? Below(40) : 1 + Below(6));
  }

  // A complete decimal number in every form the reader takes.
  std::string Number() {
    const size_t sign = Below(3);
    std::string s = SomeDigits();
    if (Below(2) == 0) s += "." + SomeDigits();
    if (s.find_first_of("0123456789") == s.npos) s.insert(0, 1, static_cast<char>('0' + Below(10)));
    if (sign > 0) s.insert(0, 1, sign == 1 ? '+' : '-');
    switch (Below(6)) {
      case 0: return s + (Below(2) ? "e" : "E") + std::to_string(static_cast<int64_t>(Below(900)) - 450);
      case 1: return s + "e+" + Digits(1 + Below(Below(20) == 0 ? 3000 : 25));
      case 2: return s + "e-" + Digits(1 + Below(4));
      default: return s;
    }
  }

  std::string Bytes() {
    std::string s(Below(40), '\0');
    for (char& c : s) c = static_cast<char>(Below(256));
    return s;
  }

  std::string Line() {
    static const char* const kTokens[] = {"nan", "-inf", "+Infinity", "1e999", "-1e-999", "+-1", "e5",
                                          "1e+", "0x1p3", "1,5", "\t\r", "\xff\xfe", "-9223372036854775809"};
    const std::string token = kTokens[Below(std::size(kTokens))];
    switch (Below(4)) {
      case 0: return Bytes();
      case 1: return token;
      case 2: return Number() + token + Bytes();
      default: return std::string(Below(4), Below(2) ? ' ' : '\t') + Number();
    }
  }
};

// glibc's strtod in the "C" locale is an independent, correctly rounded reader of the same
// grammar; only its infinities differ, which the reader holds at the largest double.
TEST(PrefsFuzz, NumbersReadLikeTheCLibraryAndHostileFilesRewriteStably) {
  const locale_t c_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  LineMaker maker{std::mt19937_64(0x5EED0002)};
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

    std::vector<std::string> lines(maker.Below(9));
    for (std::string& line : lines) {
      line = maker.Line();
      ASSERT_TRUE(std::isfinite(Val(line))) << round;
    }
    // Str tells every finite single and every integer apart: equal text means equal fields.
    const std::vector<std::string> written = WriteSettings(ReadSettings(lines));
    ASSERT_EQ(WriteSettings(ReadSettings(SplitLines(JoinLines(written)))), written) << round;
  }
  freelocale(c_locale);
}

}  // namespace
}  // namespace lumox
