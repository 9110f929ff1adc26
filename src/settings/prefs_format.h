#pragma once
// The settings file's text: five numbers, one to a line, in the order of Settings.
// Text in, text out; opening and writing the file is the window layer's business.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "starfield/star_field.h"

namespace lumox {

// Plain decimal digits, with a minus sign if negative.
std::string Str(int64_t value);

// The shortest decimal text that Val, then ToSingle, turns back into the same single.
// The separator is always "."; infinities give the text of +-FLT_MAX and NaN gives "0".
std::string Str(float value);

// The longest leading decimal number after blanks; text that starts with none gives 0.
// Always finite: overflow saturates at +-DBL_MAX, underflow gives the nearest value.
double Val(std::string_view text);

// A missing line reads as an empty one; lines after the fifth are ignored.
inline constexpr size_t kSettingsLines = 5;
Settings ReadSettings(const std::vector<std::string>& lines);
std::vector<std::string> WriteSettings(const Settings& s);

// Cuts the file's text into lines as it is read. "\n", "\r\n" and a lone "\r" all end a line,
// so files saved on any system read alike, and a UTF-8 byte-order mark before the first line is
// dropped. A last line without its end still counts.
class LineSplitter {
 public:
  // `wanted`: how many lines the reader needs; text after them is not looked at.
  explicit LineSplitter(size_t wanted = SIZE_MAX) : wanted_(wanted) {}
  // Takes the next piece of text, cut anywhere; gives true once `wanted` lines are complete.
  bool Feed(std::string_view text);
  // The lines, at the end of the text.
  std::vector<std::string> Finish();

 private:
  void EndLine();

  size_t wanted_;
  std::vector<std::string> lines_;
  std::string line_;
  bool after_cr_ = false;  // a "\n" right after it ends no further line
};

// All lines of a whole text, as LineSplitter cuts them.
std::vector<std::string> SplitLines(std::string_view text);
// Each line followed by "\n".
std::string JoinLines(const std::vector<std::string>& lines);

}  // namespace lumox
