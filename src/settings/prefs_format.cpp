#include "settings/prefs_format.h"

#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

namespace lumox {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::string Str(int64_t value) {
  char buf[24];
  const auto result = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, result.ptr);
}

std::string Str(float value) {
  if (std::isnan(value)) return "0";
  if (std::isinf(value)) value = value > 0.0f ? FLT_MAX : -FLT_MAX;
  // The shortest text that reads back as a single can, read as a double first, land on the
  // midpoint between two singles (two singles in all 2^32 do); then a longer one is taken.
  // Nine significant digits always read back.
  char buf[32];
  char* end = std::to_chars(buf, buf + sizeof buf, value).ptr;
  const uint32_t bits = std::bit_cast<uint32_t>(value);
  for (int digits = 1; digits <= 9; ++digits) {
    if (std::bit_cast<uint32_t>(ToSingle(Val(std::string_view(buf, end - buf)))) == bits) break;
    end = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, digits).ptr;
  }
  return std::string(buf, end);
}

double Val(std::string_view text) {
  const size_t n = text.size();
  size_t i = 0;
  while (i < n && (text[i] == ' ' || text[i] == '\t')) ++i;

  // from_chars takes a '-' but not a '+', so a plus sign is stepped over.
  size_t begin = i;
  bool negative = false;
  if (i < n && (text[i] == '+' || text[i] == '-')) {
    negative = text[i] == '-';
    ++i;
    if (!negative) begin = i;
  }

  // The mantissa is 0.d1d2... times 10^order, d1 its first non-zero digit: with the exponent
  // it tells an overflow from an underflow when from_chars finds the result out of range.
  int64_t order = 0;
  bool nonzero = false;
  size_t digits = 0;
  for (; i < n && IsDigit(text[i]); ++i, ++digits) {
    if (text[i] != '0') nonzero = true;
    if (nonzero) order = SaturatingAdd(order, 1);
  }
  if (i < n && text[i] == '.') {
    for (++i; i < n && IsDigit(text[i]); ++i, ++digits) {
      if (text[i] != '0') nonzero = true;
      if (!nonzero) order = SaturatingAdd(order, -1);
    }
  }
  if (digits == 0) return 0.0;

  size_t end = i;
  int64_t exponent = 0;
  if (i < n && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    bool exponent_negative = false;
    if (j < n && (text[j] == '+' || text[j] == '-')) {
      exponent_negative = text[j] == '-';
      ++j;
    }
    if (j < n && IsDigit(text[j])) {
      constexpr int64_t kCap = 1000000000000000;  // far beyond any double's exponent
      for (; j < n && IsDigit(text[j]); ++j) {
        if (exponent < kCap) exponent = exponent * 10 + (text[j] - '0');
      }
      if (exponent_negative) exponent = -exponent;
      end = j;
    }
  }

  double value = 0.0;
  const auto result = std::from_chars(text.data() + begin, text.data() + end, value,
                                      std::chars_format::general);
  if (result.ec == std::errc()) {
    if (std::isfinite(value)) return value;
    return negative ? -DBL_MAX : DBL_MAX;
  }
  if (result.ec != std::errc::result_out_of_range) return 0.0;
  if (SaturatingAdd(order, exponent) > 0) return negative ? -DBL_MAX : DBL_MAX;
  return negative ? -0.0 : 0.0;
}

Settings ReadSettings(const std::vector<std::string>& lines) {
  const auto line = [&lines](size_t index) -> std::string_view {
    return index < lines.size() ? std::string_view(lines[index]) : std::string_view();
  };
  Settings s;
  s.Rotn = TruncToInt64(Val(line(0)));
  s.Speed = ToSingle(Val(line(1)));
  s.ColourSpread = TruncToInt64(Val(line(2)));
  s.StarSize = ToSingle(Val(line(3)));
  s.StarMax = TruncToInt64(Val(line(4)));
  return s;
}

std::vector<std::string> WriteSettings(const Settings& s) {
  return {Str(s.Rotn), Str(s.Speed), Str(s.ColourSpread), Str(s.StarSize), Str(s.StarMax)};
}

bool LineSplitter::Feed(std::string_view text) {
  for (size_t i = 0; i < text.size() && lines_.size() < wanted_;) {
    if (after_cr_ && text[i] == '\n') {
      after_cr_ = false;
      ++i;
      continue;
    }
    const size_t end = text.find_first_of("\r\n", i);
    if (end == std::string_view::npos) {
      line_.append(text.substr(i));
      after_cr_ = false;
      break;
    }
    line_.append(text.substr(i, end - i));
    after_cr_ = text[end] == '\r';
    EndLine();
    i = end + 1;
  }
  return lines_.size() >= wanted_;
}

std::vector<std::string> LineSplitter::Finish() {
  if (lines_.size() < wanted_) {
    EndLine();
    if (lines_.back().empty()) lines_.pop_back();  // the text ended with its last line's end
  }
  return std::move(lines_);
}

void LineSplitter::EndLine() {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (lines_.empty() && line_.starts_with(kByteOrderMark)) line_.erase(0, kByteOrderMark.size());
  lines_.push_back(std::move(line_));
  line_.clear();
}

std::vector<std::string> SplitLines(std::string_view text) {
  LineSplitter splitter;
  splitter.Feed(text);
  return splitter.Finish();
}

std::string JoinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line;
    text += '\n';
  }
  return text;
}

}  // namespace lumox
