#pragma once
// The settings file's text: five numbers, one to a line, in the order of Settings.
// Text in, text out; opening and writing the file is the window layer's business.
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
Settings ReadSettings(const std::vector<std::string>& lines);
std::vector<std::string> WriteSettings(const Settings& s);

// Accepts "\n" and "\r\n"; a last line without its end still counts.
std::vector<std::string> SplitLines(std::string_view text);
// Each line followed by "\n".
std::string JoinLines(const std::vector<std::string>& lines);

}  // namespace lumox
