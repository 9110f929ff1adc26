#include <gtest/gtest.h>
#include <locale.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <random>

#include "settings/prefs_format.h"

namespace lumox {
namespace {

// Hostile settings-file lines from a fixed seed, so a failure can be replayed.
struct LineMaker {
  std::mt19937_64 rng;
  size_t Below(size_t n) { return static_cast<size_t>(rng() % n); }

  // Mostly short runs, sometimes none or thousands; zero-heavy runs stress where overflow and underflow part.
  std::string Digits() {
    const size_t kind = Below(10);
    const size_t count = kind == 0 ? 0 : kind == 1 ? 1000 + Below(3000) : kind == 2 ? Below(40) : 1 + Below(6);
    const bool zeros = Below(4) == 0;
    std::string s;
    while (s.size() < count) s += zeros && Below(8) ? '0' : static_cast<char>('0' + Below(10));
    return s;
  }

  // A complete decimal number in every form the reader takes.
  std::string Number() {
    std::string s = Digits();
    if (Below(2)) s += "." + Digits();
    if (s.find_first_of("0123456789") == s.npos) s.insert(0, "7");
    static const char* const kSigns[] = {"", "+", "-"};
    s = kSigns[Below(3)] + s;
    switch (Below(4)) {
      case 0: return s + (Below(2) ? "e" : "E") + std::to_string(static_cast<int>(Below(900)) - 450);
      case 1: return s + "e+" + Digits() + "3";
      default: return s;
    }
  }

  std::string Line() {
    static const char* const kTokens[] = {"nan", "-inf", "+Infinity", "1e999", "-1e-999", "+-1", "e5",
                                          "1e+", "0x1p3", "1,5", "\t\r", "\xff\xfe", "-9223372036854775809"};
    std::string bytes(Below(40), '\0');
    for (char& c : bytes) c = static_cast<char>(Below(256));
    switch (Below(4)) {
      case 0: return bytes;
      case 1: return kTokens[Below(std::size(kTokens))];
      case 2: return Number() + kTokens[Below(std::size(kTokens))] + bytes;
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
    const std::string tail = std::string(1, " x,+-\r\0\xff"[maker.Below(8)]) + maker.Line();
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
